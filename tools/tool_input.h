// Reading a command's FILE (or standard input for "-") and refusing what no command can
// use, with one clear line each: unreadable, a directory, empty, not UTF-8, not an item
// document.
#pragma once

#include <stdexcept>
#include <string>

namespace vexqom::tool {

// A failure of the tool itself (not raised by the library); main prints it under
// "vexqom: FILE: ".
struct Refusal : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// The whole input as UTF-8 bytes, without a leading byte order mark.
std::string read_input(const std::string& path);

// The name of the first element of well-formed XML text ("" when there is none).
std::string root_element(const std::string& xml);

// Refuses text whose root is not "Items"; the library has already found it well-formed.
void require_item_document(const std::string& xml);

}  // namespace vexqom::tool
