#include "support/schema_validation.h"

#include <gtest/gtest.h>
#include <libxml/parser.h>
#include <libxml/xmlerror.h>
#include <libxml/xmlschemas.h>

#include <mutex>

#include "frame/document_observer.h"

#ifndef VEXQOM_SCHEMA_DIR
#error "VEXQOM_SCHEMA_DIR must name the schema folder"
#endif

namespace vexqom::testing {

namespace {

// Parsed on first use (null with its parse errors when unusable); and documents seen per form.
struct SchemaSet {
  std::mutex mutex;
  std::map<std::string, std::pair<xmlSchemaPtr, std::string>> schemas;
  std::map<std::string, int64_t> seen;
};

SchemaSet& schema_set() {
  static SchemaSet* set = new SchemaSet;  // outlives every writer, also at exit
  return *set;
}

// Collects libxml2's messages for one call instead of letting them reach stderr.
void collect_error(void* context, xmlErrorPtr error) {
  if (error == nullptr || error->level == XML_ERR_WARNING) return;
  auto& out = *static_cast<std::string*>(context);
  std::string message = error->message != nullptr ? error->message : "(no message)";
  out += (out.empty() ? "" : "; ") + message.substr(0, message.find_last_not_of("\r\n") + 1);
}

// Call with the set's mutex held; this thread's libxml2 messages go into the result.
std::string validate_locked(SchemaSet& set, const std::string& form, std::string_view utf8) {
  std::string errors;
  const xmlStructuredErrorFunc previous = xmlStructuredError;  // the library's, put back after
  void* const previous_context = xmlStructuredErrorContext;
  xmlSetStructuredErrorFunc(&errors, collect_error);
  auto [found, fresh] = set.schemas.try_emplace(form);
  auto& [schema, schema_error] = found->second;
  if (fresh) {
    const std::string path = schema_folder() + "/" + form + ".xsd";
    xmlSchemaParserCtxtPtr parser = xmlSchemaNewParserCtxt(path.c_str());
    schema = xmlSchemaParse(parser);
    xmlSchemaFreeParserCtxt(parser);
    if (schema == nullptr) schema_error = "no usable schema " + path + ": " + errors;
  }
  std::string problem = schema_error;
  errors.clear();
  if (schema) {
    xmlDocPtr doc = xmlReadMemory(utf8.data(), static_cast<int>(utf8.size()), "document.xml",
                                  "UTF-8", XML_PARSE_NONET);
    if (!doc || !errors.empty()) {
      problem = "not well-formed: " + errors + "?";
    } else {
      xmlSchemaValidCtxtPtr validator = xmlSchemaNewValidCtxt(schema);
      xmlSchemaSetValidStructuredErrors(validator, collect_error, &errors);
      if (xmlSchemaValidateDoc(validator, doc) != 0) problem = "invalid: " + errors;
      xmlSchemaFreeValidCtxt(validator);
    }
    xmlFreeDoc(doc);
  }
  xmlSetStructuredErrorFunc(previous_context, previous);
  return problem;
}

// The observer: runs on whichever thread wrote the document.
void check_written_document(const char* form, const Text& xml) {
  const std::string utf8 = to_utf8(xml);
  std::unique_lock<std::mutex> lock(schema_set().mutex);
  ++schema_set().seen[form];
  const std::string problem = validate_locked(schema_set(), form, utf8);
  lock.unlock();
  EXPECT_EQ(problem, "") << "written " << form << " document, schema/" << form << ".xsd\n  "
                         << utf8.substr(0, 400);
}

struct SchemaValidationEnvironment : ::testing::Environment {
  void SetUp() override {
    xmlInitParser();
    set_document_observer(&check_written_document);
  }
  void TearDown() override { set_document_observer(nullptr); }
};

[[maybe_unused]] ::testing::Environment* const registered =
    ::testing::AddGlobalTestEnvironment(new SchemaValidationEnvironment);

}  // namespace

std::string schema_folder() { return VEXQOM_SCHEMA_DIR; }

std::string schema_problems(const std::string& form, std::string_view utf8) {
  std::lock_guard<std::mutex> lock(schema_set().mutex);
  return validate_locked(schema_set(), form, utf8);
}

std::map<std::string, int64_t> validated_documents() {
  std::lock_guard<std::mutex> lock(schema_set().mutex);
  return schema_set().seen;
}

}  // namespace vexqom::testing
