// clsXML: the private XML text engine. It builds XML text element by element into a
// single-byte buffer and reads values and whole elements back by literal tag search.
// It is a text engine, not a parser: nothing it is given is validated.
//
// Searches run on the buffer's bytes in place; only the values read or written are
// converted between Text and the code page.
#pragma once

#include <algorithm>
#include <cstdint>
#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "frame/code_page.h"
#include "frame/CString.h"
#include "vexqom/error.h"
#include "vexqom/object.h"
#include "vexqom/text.h"
#include "xml/tag_reader.h"

namespace vexqom {

class DomDocument;  // the DOM adapter over libxml2 (xml/dom_document.h)
class DomVisitor;

class clsXML : public Object {
 public:
  clsXML();  // Clear(false)
  ~clsXML() override;
  const ClassInfo& class_info() const override;

  // ---- Settings (write-only) ----
  void put_Snippet(bool xbVal) { snippet_ = xbVal; }
  void put_Formatted(bool xbVal) { formatted_ = xbVal; }
  void put_validate(bool xbVal) { validate_ = xbVal; }
  void put_Compress(bool xbVal) { compress_ = xbVal; }
  void put_ZeroSuppress(bool xbVal);  // true also turns Compress on
  void put_Version(const Text& xsVal);
  void put_Stylesheet(const Text& xsVal);
  void put_Encoding(const Text& xsVal);
  void put_Prefix(const Text& xsVal);  // derives Suffix when it holds a blank
  void put_Suffix(const Text& xsVal) { suffix_ = xsVal; }
  void put_DOCTYPE(const Text& xsVal);
  void put_indent(const Text& xiVal);  // a number as text; 13 when not numeric
  void put_Level(int16_t xiLevel);

  // ---- Whole text ----
  void put_XML(const Text& xsXML);
  Text get_XML();

  // ---- Builder ----
  void Add(TextView xsTagNam, TextView xsStrVal, bool xbNewGroup = false,
           bool xbEndGroup = false);
  void AddAttrVal(const Text& xsTagNam, const Text& xsAttr, const Text& xsVal,
                  bool xbNewGroup = false);
  void AddXML(const Text& xsXML);
  void EndGroup();
  void Comment(const Text& xsComment);
  void Clear(bool xbDestroyObject = false);

  // ---- Escaping ----
  static Text GetFieldValue(const Text& xsXMLfield);
  static Text EscapeValue(const Text& text);
  static Text UnescapeText(const Text& text);

  // ---- Readers and editors ----
  Text get_Value(TextView xsTagName, int16_t xiElement = 0);
  void put_Value(const Text& xsTagName, int16_t xiElement, const Text& xsValue);
  Text get_Block(TextView xsTagName, int16_t xiElement = 0);
  void put_Block(const Text& xsTagName, int16_t xiElement, const Text& xsBlock);
  Text get_Attrib(const Text& xsTag, const Text& xsAttr);
  void put_Attrib(const Text& xsTag, const Text& xsAttr, const Text& xsValue);

  // ---- Files and the DOM parser ----
  void XMLFileRead(const Text& fileName);
  void XMLFileWrite(const Text& fileName, bool clear);
  Ref<DomDocument> DocumentCreate(const Text& xsXML, bool validate = false);
  Ref<DomDocument> DocumentLoad(const Text& xsFilename, bool validate = false);
  // DocumentCreate's reading and failure without keeping the document: the text goes by
  // the visitor (may be null: a well-formedness check) as it is read. Returns what the
  // visitor threw, which stopped the reading, for the caller to report.
  std::exception_ptr DocumentStream(const Text& xsXML, DomVisitor* visitor);
  std::exception_ptr DocumentStream(std::string_view utf8, DomVisitor* visitor);

  // ---- Reshaping ----
  // Without an argument they work on (and replace) the engine's own buffer.
  Text Prettify(const std::optional<Text>& xsXML = std::nullopt);
  // Prettify of well-formed UTF-8, in UTF-8: no UTF-16 copy of a large document is made.
  std::string PrettifyUtf8(std::string_view utf8);
  Text XMLcompress(const std::optional<Text>& xvXML = std::nullopt);

  const ErrorState& last_error() const { return errors_; }

 private:
  // Shared by the builder members.
  void open_group(TextView tag);
  void close_innermost_group(int16_t indent_level);
  CString& buffer();                 // error 91 when destroyed
  std::vector<Text>& group_stack();  // error 91 when destroyed
  Text ComposeDocument();
  size_t indentation_width(int16_t level) const;  // 16-bit product, error 6
  void append_indentation(std::string& out, int16_t level) const;
  // The reader, pointed at the buffer as it stands.
  TagReader& reader();
  void replace_span(size_t from, size_t to, std::string_view replacement);
  void replace_element(TextView label, const Text& xsTagName, int16_t xiElement,
                       bool value_only, const Text& replacement);
  // Prettify's statements after the source is in UTF-8 (line: the statement reached).
  std::string prettify_utf8(std::string_view source, int& line);
  // DocumentStream's statements after the source is in UTF-8.
  std::exception_ptr stream_document(std::string_view utf8, DomVisitor* visitor, int& line);
  // XMLcompress: whether the start tag at j and the end tag ending at k (1-based) carry
  // the same name.
  static bool XCmatchingTags(const Text& text, int32_t j, int32_t k);

  Ref<CString> buffer_;                       // null after Clear(true)
  std::optional<std::vector<Text>> groups_;   // the group stack; absent after Clear(true)
  int32_t group_counter_ = 0;
  bool loaded_ = false;
  // The declaration template, filled in place by the first document composed; absent
  // while it is still the default "<?xml {ver} {enc} ?>" (no allocation per engine).
  std::optional<Text> header_template_;
  Text version_ = u"1.0";
  Text encoding_ = u"UTF-8";
  Text stylesheet_, doctype_, prefix_, suffix_;
  bool formatted_ = false;
  bool validate_ = true;
  bool compress_ = false;
  bool zero_suppress_ = false;
  bool snippet_ = false;
  int16_t indent_ = 4;
  int16_t level_ = 1;
  char16_t quote_ = u'"';
  char16_t apostrophe_ = u'\'';
  TagReader reader_;  // remembers the last value and block read
  ErrorState errors_;
};

}  // namespace vexqom
