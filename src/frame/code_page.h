// The single-byte code page the XML engine, its files and the logs keep text in:
// Windows-1252, where characters it cannot hold become "?". A process started with
// VEXQOM_CODE_PAGE=utf-8 keeps UTF-8 instead, so that no character is lost; the setting
// is read once.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "vexqom/text.h"

namespace vexqom {

bool code_page_is_utf8();

// The bytes encoding text takes (text.size() in Windows-1252).
std::size_t code_page_size(TextView text);
// Writes code_page_size(text) bytes at out; returns the end.
char* encode_code_page(TextView text, char* out);
void append_code_page(std::string& out, TextView text);
std::string to_code_page(TextView text);

Text from_code_page(std::string_view bytes);
void append_from_code_page(Text& out, std::string_view bytes);

}  // namespace vexqom
