// Every XML document the library writes during the test program is checked against the
// published schema of its form (schema/<form>.xsd). A document that does not validate
// fails the test that wrote it.
#pragma once

#include <cstdint>
#include <map>
#include <string>

namespace vexqom::testing {

// The schema folder of the source tree.
std::string schema_folder();

// Validates UTF-8 text against the schema of `form`. Empty when valid, otherwise the
// parser's or validator's message(s).
std::string schema_problems(const std::string& form, const std::string& utf8);

// Documents the observer has checked so far, per form.
std::map<std::string, int64_t> validated_documents();

}  // namespace vexqom::testing
