#include "tool_schema.h"

#include <libxml/globals.h>
#include <libxml/parser.h>
#include <libxml/xmlschemas.h>

#include <filesystem>
#include <memory>

#include "tool_input.h"

namespace vexqom::tool {
namespace {

namespace fs = std::filesystem;

// The folder beside an installed tool, else the source tree's (a build tree's tool).
fs::path schema_folder() {
  std::error_code failed;
  fs::path self = fs::read_symlink("/proc/self/exe", failed);
  if (!failed) {
    fs::path installed = (self.parent_path() / VEXQOM_SCHEMA_FROM_BIN).lexically_normal();
    if (fs::is_regular_file(installed / "common.xsd", failed)) return installed;
  }
  fs::path source = VEXQOM_SOURCE_SCHEMA_DIR;
  if (fs::is_regular_file(source / "common.xsd", failed)) return source;
  throw Refusal("cannot find the schemas (share/vexqom/schema beside the tool, or " +
                source.string() + ")");
}

struct Schema {
  const char* root;
  const char* file;
};
constexpr Schema kSchemas[] = {
    {"Items", "item-document.xsd"},    {"Item", "item.xsd"},
    {"Prices", "price-collection.xsd"}, {"Price", "price.xsd"},
    {"Vehicle", "vehicle.xsd"},         {"ICatPresetCol", "preset-collection.xsd"},
    {"ICatPreset", "preset.xsd"},       {"ICatList", "list.xsd"},
};

void collect(void* lines, xmlErrorPtr error) {
  std::string message = error->message ? error->message : "invalid";
  while (!message.empty() && message.back() == '\n') message.pop_back();
  static_cast<std::vector<std::string>*>(lines)->push_back(
      error->line > 0 ? "line " + std::to_string(error->line) + ": " + message : message);
}

// Sends this thread's libxml2 messages (a schema file's own parse errors among them)
// into the lines while it lives, instead of to standard error.
class Collecting {
 public:
  explicit Collecting(std::vector<std::string>& lines)
      : handler_(xmlStructuredError), context_(xmlStructuredErrorContext) {
    xmlSetStructuredErrorFunc(&lines, collect);
  }
  ~Collecting() { xmlSetStructuredErrorFunc(context_, handler_); }

 private:
  xmlStructuredErrorFunc handler_;
  void* context_;
};

template <class T, void (*Free)(T*)>
using Owned = std::unique_ptr<T, decltype([](T* p) { Free(p); })>;

}  // namespace

std::string schema_for_root(const std::string& root) {
  for (const Schema& s : kSchemas) {
    if (root == s.root) return (schema_folder() / s.file).string();
  }
  throw Refusal("no shipped schema describes the root element \"" + root + "\"");
}

std::vector<std::string> schema_errors(const std::string& xml, const std::string& schema_path) {
  std::vector<std::string> lines;
  std::error_code failed;
  if (!fs::is_regular_file(schema_path, failed)) {
    throw Refusal("cannot read the schema " + schema_path + ": no such file");
  }
  Collecting collecting(lines);
  Owned<xmlSchemaParserCtxt, xmlSchemaFreeParserCtxt> parser(
      xmlSchemaNewParserCtxt(schema_path.c_str()));
  Owned<xmlSchema, xmlSchemaFree> schema(parser ? xmlSchemaParse(parser.get()) : nullptr);
  if (!schema) {
    std::string reason = lines.empty() ? std::string() : ": " + lines.front();
    throw Refusal("cannot read the schema " + schema_path + reason);
  }
  // Local files only, no entity expansion: the text is untrusted.
  Owned<xmlDoc, xmlFreeDoc> doc(xmlReadMemory(xml.data(), static_cast<int>(xml.size()), nullptr,
                                              "UTF-8", XML_PARSE_NONET | XML_PARSE_NOERROR |
                                                           XML_PARSE_NOWARNING));
  if (!doc) throw Refusal("not well-formed XML");
  Owned<xmlSchemaValidCtxt, xmlSchemaFreeValidCtxt> validator(
      xmlSchemaNewValidCtxt(schema.get()));
  const int outcome = xmlSchemaValidateDoc(validator.get(), doc.get());
  if (outcome != 0 && lines.empty()) lines.push_back("does not match " + schema_path);
  return lines;
}

}  // namespace vexqom::tool
