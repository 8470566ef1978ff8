#include "tool_input.h"

#include <libxml/xmlreader.h>
#include <sys/stat.h>
#include <unicode/utf8.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>

namespace vexqom::tool {
namespace {

std::string system_error(const char* what) { return std::string(what) + ": " + std::strerror(errno); }

// The whole stream, read into one string: a regular file in one piece of its own size,
// anything else in blocks that grow geometrically.
std::string read_stream(std::FILE* in) {
  struct stat info {};
  if (fstat(fileno(in), &info) == 0 && S_ISDIR(info.st_mode)) throw Refusal("is a directory");
  const bool regular = S_ISREG(info.st_mode);
  std::string bytes;
  // One byte beyond a regular file's size, so that its end shows as a short read.
  bytes.resize(regular ? static_cast<size_t>(info.st_size) + 1 : size_t{1} << 16);
  size_t used = 0;
  for (;;) {
    used += std::fread(bytes.data() + used, 1, bytes.size() - used, in);
    if (std::ferror(in)) throw Refusal(system_error("cannot read"));
    if (used < bytes.size()) break;
    bytes.resize(bytes.size() * 2);
  }
  bytes.resize(used);
  return bytes;
}

// Refuses text that is not UTF-8, naming the first byte that breaks it.
void require_utf8(const std::string& bytes) {
  if (bytes.size() >= 2 && ((bytes[0] == '\xFF' && bytes[1] == '\xFE') ||
                            (bytes[0] == '\xFE' && bytes[1] == '\xFF'))) {
    throw Refusal("not UTF-8 text: it begins with a UTF-16 byte order mark "
                  "(iconv -f UTF-16 -t UTF-8 converts it)");
  }
  const auto* s = reinterpret_cast<const uint8_t*>(bytes.data());
  const int32_t length = static_cast<int32_t>(bytes.size());
  int32_t line = 1, column = 1;
  for (int32_t i = 0; i < length;) {
    const int32_t start = i;
    UChar32 c;
    U8_NEXT(s, i, length, c);
    if (c < 0) {
      char detail[96];
      std::snprintf(detail, sizeof detail, "not UTF-8 text: byte 0x%02X at line %d, column %d",
                    s[start], line, column);
      throw Refusal(detail);
    }
    if (c == '\n') {
      ++line;
      column = 1;
    } else {
      ++column;
    }
  }
}

}  // namespace

std::string read_input(const std::string& path) {
  std::string bytes;
  if (path == "-") {
    bytes = read_stream(stdin);
  } else {
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> in(std::fopen(path.c_str(), "rb"),
                                                       &std::fclose);
    if (!in) throw Refusal(system_error("cannot open"));
    bytes = read_stream(in.get());
  }
  if (bytes.empty()) throw Refusal("empty input");
  if (bytes.size() > INT32_MAX) throw Refusal("too large: more than 2 GB");
  require_utf8(bytes);
  if (bytes.compare(0, 3, "\xEF\xBB\xBF") == 0) bytes.erase(0, 3);
  return bytes;
}

std::string root_element(const std::string& xml) {
  std::unique_ptr<xmlTextReader, void (*)(xmlTextReaderPtr)> reader(
      xmlReaderForMemory(xml.data(), static_cast<int>(xml.size()), nullptr, "UTF-8",
                         XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING),
      &xmlFreeTextReader);
  if (!reader) return std::string();
  // Only as far as the first start tag: the rest of the text is not read.
  while (xmlTextReaderRead(reader.get()) == 1) {
    if (xmlTextReaderNodeType(reader.get()) == XML_READER_TYPE_ELEMENT) {
      return reinterpret_cast<const char*>(xmlTextReaderConstName(reader.get()));
    }
  }
  return std::string();
}

void require_item_document(const std::string& xml) {
  std::string root = root_element(xml);
  if (root != "Items") {
    throw Refusal("not an item document: its root element is \"" + root +
                  "\", not \"Items\"");
  }
}

}  // namespace vexqom::tool
