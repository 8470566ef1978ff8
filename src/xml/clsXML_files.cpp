// clsXML: reading a file into the buffer and writing the engine's XML text to a file.
//
// Both sides are bytes of the engine's code page: the buffer already holds them, so a
// file is appended to it unconverted.
#include <cstdio>
#include <memory>
#include <string>

#include "frame/file_procedures.h"
#include "frame/procedure.h"
#include "xml/clsXML.h"

namespace vexqom {

namespace {

// ".xml" is added unless the name already ends in it, in any letter case.
Text with_xml_extension(const Text& name) {
  const size_t n = name.size() < 4 ? name.size() : 4;
  if (upper_case(TextView(name).substr(name.size() - n)) == u".XML") return name;
  return name + u".xml";
}

struct FileClose {
  void operator()(std::FILE* f) const { std::fclose(f); }
};
using File = std::unique_ptr<std::FILE, FileClose>;

File open_or_fail(const Text& name, const char* mode) {
  File file(std::fopen(to_utf8(name).c_str(), mode));
  if (!file) throw Error(errc::kPathFileAccess);
  return file;
}

// Every line of the file followed by CR LF. A line ends at CR, CR LF or a lone LF, so
// the result is the same whatever line ends the file used, and a last line without
// its line end gets one.
std::string lines_with_crlf(std::FILE* file) {
  std::string out;
  bool line_open = false;  // characters read since the last line end
  bool after_cr = false;   // an LF right after CR belongs to that line end
  char chunk[65536];
  size_t n;
  while ((n = std::fread(chunk, 1, sizeof chunk, file)) > 0) {
    for (size_t i = 0; i < n; ++i) {
      const char c = chunk[i];
      if (c == '\n' && after_cr) {
        after_cr = false;
        continue;
      }
      after_cr = c == '\r';
      if (c == '\r' || c == '\n') {
        out += "\r\n";
        line_open = false;
      } else {
        out += c;
        line_open = true;
      }
    }
  }
  if (std::ferror(file)) throw Error(errc::kPathFileAccess);
  if (line_open) out += "\r\n";
  return out;
}

}  // namespace

void clsXML::XMLFileRead(const Text& fileName) {
  run_procedure(errors_, u"clsXML | XMLFileRead", Trace::No, [&](int& line) {
    line = 1;
    buffer_ = create<CString>();
    line = 2;
    loaded_ = true;
    line = 3;
    formatted_ = true;
    line = 4;
    // As after an assignment to XML: nothing read before applies to the new text.
    reader_.forget_text();  // a new buffer starts its generations afresh
    line = 5;
    const Text name = with_xml_extension(fileName);
    line = 6;
    if (!FileExists(name)) return;
    line = 7;
    File file = open_or_fail(name, "rb");
    line = 8;
    buffer_->AppendBytes(lines_with_crlf(file.get()));
    line = 9;
    file.reset();
  });
}

void clsXML::XMLFileWrite(const Text& fileName, bool clear) {
  run_procedure(errors_, u"clsXML | XMLFileWrite", Trace::No, [&](int& line) {
    line = 1;
    const Text name = with_xml_extension(fileName);
    line = 2;
    File file = open_or_fail(name, "wb");
    line = 3;
    std::string bytes = to_code_page(get_XML());
    bytes += "\r\n";
    if (std::fwrite(bytes.data(), 1, bytes.size(), file.get()) != bytes.size()) {
      throw Error(errc::kPathFileAccess);
    }
    line = 4;
    if (std::fclose(file.release()) != 0) throw Error(errc::kPathFileAccess);
    line = 5;
    if (clear) Clear(false);
  });
}

}  // namespace vexqom
