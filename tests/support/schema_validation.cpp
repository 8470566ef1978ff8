#include "support/schema_validation.h"

#include <gtest/gtest.h>
#include <libxml/parser.h>
#include <libxml/xmlerror.h>
#include <libxml/xmlschemas.h>

#include <iostream>
#include <memory>
#include <mutex>

#include "frame/document_observer.h"

#ifndef VEXQOM_SCHEMA_DIR
#error "VEXQOM_SCHEMA_DIR must name the schema folder"
#endif

namespace vexqom::testing {

namespace {

struct SchemaSet {
  std::mutex mutex;
  // A schema per form, parsed on first use; null when the file did not parse.
  std::map<std::string, xmlSchemaPtr> schemas;
  std::map<std::string, std::string> schema_errors;
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
  if (!out.empty()) out += "; ";
  std::string message = error->message != nullptr ? error->message : "(no message)";
  while (!message.empty() && (message.back() == '\n' || message.back() == '\r')) {
    message.pop_back();
  }
  if (error->line > 0) out += "line " + std::to_string(error->line) + ": ";
  out += message;
}

// Routes this thread's libxml2 messages into `sink` while alive.
class ErrorCapture {
 public:
  explicit ErrorCapture(std::string* sink)
      : previous_(xmlStructuredError), previous_context_(xmlStructuredErrorContext) {
    xmlSetStructuredErrorFunc(sink, collect_error);
  }
  ~ErrorCapture() { xmlSetStructuredErrorFunc(previous_context_, previous_); }
  ErrorCapture(const ErrorCapture&) = delete;
  ErrorCapture& operator=(const ErrorCapture&) = delete;

 private:
  xmlStructuredErrorFunc previous_;
  void* previous_context_;
};

// Call with the set's mutex held.
xmlSchemaPtr schema_for(SchemaSet& set, const std::string& form, std::string* problem) {
  auto found = set.schemas.find(form);
  if (found == set.schemas.end()) {
    const std::string path = schema_folder() + "/" + form + ".xsd";
    std::string errors;
    xmlSchemaPtr schema = nullptr;
    {
      ErrorCapture capture(&errors);
      if (xmlSchemaParserCtxtPtr parser = xmlSchemaNewParserCtxt(path.c_str())) {
        xmlSchemaSetParserStructuredErrors(parser, collect_error, &errors);
        schema = xmlSchemaParse(parser);
        xmlSchemaFreeParserCtxt(parser);
      }
    }
    if (schema == nullptr) {
      set.schema_errors[form] = "no usable schema " + path + (errors.empty() ? "" : ": ") + errors;
    }
    found = set.schemas.emplace(form, schema).first;
  }
  if (found->second == nullptr) *problem = set.schema_errors[form];
  return found->second;
}

std::string validate_locked(SchemaSet& set, const std::string& form, std::string_view utf8) {
  std::string problem;
  xmlSchemaPtr schema = schema_for(set, form, &problem);
  if (schema == nullptr) return problem;

  std::string errors;
  ErrorCapture capture(&errors);
  std::unique_ptr<xmlDoc, decltype(&xmlFreeDoc)> doc(
      xmlReadMemory(utf8.data(), static_cast<int>(utf8.size()), "document.xml", "UTF-8",
                    XML_PARSE_NONET),
      &xmlFreeDoc);
  if (!doc) return "not well-formed: " + (errors.empty() ? std::string("?") : errors);
  if (!errors.empty()) return "not well-formed: " + errors;

  xmlSchemaValidCtxtPtr validator = xmlSchemaNewValidCtxt(schema);
  if (validator == nullptr) return "no validation context";
  xmlSchemaSetValidStructuredErrors(validator, collect_error, &errors);
  const int result = xmlSchemaValidateDoc(validator, doc.get());
  xmlSchemaFreeValidCtxt(validator);
  if (result == 0) return std::string();
  return errors.empty() ? "invalid (code " + std::to_string(result) + ")" : errors;
}

// The observer: runs on whichever thread wrote the document.
void check_written_document(const char* form, const Text& xml) {
  const std::string utf8 = to_utf8(xml);
  SchemaSet& set = schema_set();
  std::string problem;
  {
    std::lock_guard<std::mutex> lock(set.mutex);
    ++set.seen[form];
    problem = validate_locked(set, form, utf8);
  }
  if (!problem.empty()) {
    ADD_FAILURE() << "written " << form << " document does not match schema/" << form
                  << ".xsd: " << problem << "\n  document starts: " << utf8.substr(0, 400);
  }
}

class SchemaValidationEnvironment : public ::testing::Environment {
 public:
  void SetUp() override {
    xmlInitParser();
    set_document_observer(&check_written_document);
  }
  void TearDown() override {
    set_document_observer(nullptr);
    const auto counts = validated_documents();
    int64_t total = 0;
    for (const auto& [form, n] : counts) total += n;
    std::cout << "[ schemas  ] " << total << " written documents checked";
    const char* separator = " (";
    for (const auto& [form, n] : counts) {
      std::cout << separator << form << " " << n;
      separator = ", ";
    }
    std::cout << (counts.empty() ? "" : ")") << "\n";
  }
};

[[maybe_unused]] ::testing::Environment* const registered =
    ::testing::AddGlobalTestEnvironment(new SchemaValidationEnvironment);

}  // namespace

std::string schema_folder() { return VEXQOM_SCHEMA_DIR; }

std::string schema_problems(const std::string& form, std::string_view utf8) {
  SchemaSet& set = schema_set();
  std::lock_guard<std::mutex> lock(set.mutex);
  return validate_locked(set, form, utf8);
}

std::map<std::string, int64_t> validated_documents() {
  SchemaSet& set = schema_set();
  std::lock_guard<std::mutex> lock(set.mutex);
  return set.seen;
}

}  // namespace vexqom::testing
