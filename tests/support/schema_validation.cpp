#include "support/schema_validation.h"

#include <gtest/gtest.h>

#include <mutex>

#include "frame/document_observer.h"
#include "tool_input.h"
#include "tool_schema.h"

namespace vexqom::testing {

namespace {

// Documents seen per form; outlives every writer, also at exit.
struct Seen {
  std::mutex mutex;
  std::map<std::string, int64_t> per_form;
};
Seen& seen() {
  static Seen* s = new Seen;
  return *s;
}

// The observer: runs on whichever thread wrote the document.
void check_written_document(const char* form, const Text& xml) {
  const std::string utf8 = to_utf8(xml);
  {
    std::lock_guard<std::mutex> lock(seen().mutex);
    ++seen().per_form[form];
  }
  EXPECT_EQ(schema_problems(form, utf8), "") << "written " << form << " document, schema/" << form
                                             << ".xsd\n  " << utf8.substr(0, 400);
}

struct SchemaValidationEnvironment : ::testing::Environment {
  void SetUp() override { set_document_observer(&check_written_document); }
  void TearDown() override { set_document_observer(nullptr); }
};

[[maybe_unused]] ::testing::Environment* const registered =
    ::testing::AddGlobalTestEnvironment(new SchemaValidationEnvironment);

}  // namespace

std::string schema_folder() { return VEXQOM_SCHEMA_DIR; }

// The tool's validator, so that tests and `vexqom validate` judge a document alike.
std::string schema_problems(const std::string& form, const std::string& utf8) {
  try {
    std::string problems;
    for (const std::string& line :
         tool::schema_errors(utf8, schema_folder() + "/" + form + ".xsd"))
      problems += (problems.empty() ? "" : "; ") + line;
    return problems;
  } catch (const tool::Refusal& refused) {
    return refused.what();
  }
}

std::map<std::string, int64_t> validated_documents() {
  std::lock_guard<std::mutex> lock(seen().mutex);
  return seen().per_form;
}

}  // namespace vexqom::testing
