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

#include "frame/CString.h"
#include "vexqom/error.h"
#include "vexqom/object.h"
#include "vexqom/text.h"
#include "xml/byte_search.h"
#include "xml/pattern_index.h"
#include "xml/tag_filter.h"

namespace vexqom {

class DomDocument;  // the DOM adapter over libxml2 (xml/dom_document.h)
class DomVisitor;

// Whether a value is itself XML (starts with "<" and ends with ">"): such values are
// written and read as they are, never escaped or unescaped.
bool looks_like_xml(TextView text);

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
  // Tag names given as literals, their length known when compiling (a char16_t literal's
  // length is otherwise counted on every call).
  template <size_t N>
  void Add(const char16_t (&xsTagNam)[N], TextView xsStrVal, bool xbNewGroup = false,
           bool xbEndGroup = false) {
    Add(TextView(xsTagNam, N - 1), xsStrVal, xbNewGroup, xbEndGroup);
  }
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
  template <size_t N>
  Text get_Value(const char16_t (&xsTagName)[N], int16_t xiElement = 0) {
    return get_Value(TextView(xsTagName, N - 1), xiElement);
  }
  void put_Value(const Text& xsTagName, int16_t xiElement, const Text& xsValue);
  Text get_Block(TextView xsTagName, int16_t xiElement = 0);
  template <size_t N>
  Text get_Block(const char16_t (&xsTagName)[N], int16_t xiElement = 0) {
    return get_Block(TextView(xsTagName, N - 1), xiElement);
  }
  // get_Block's bytes, for another engine to load (valid until this one changes).
  std::string_view get_Block_bytes(TextView xsTagName, int16_t xiElement = 0);
  template <size_t N>
  std::string_view get_Block_bytes(const char16_t (&xsTagName)[N], int16_t xiElement = 0) {
    return get_Block_bytes(TextView(xsTagName, N - 1), xiElement);
  }
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
  struct SearchMemory {
    int32_t position = 0;  // 1-based, just after the end tag of the element read last
    int32_t element = 0;
    std::string tag;  // code-page bytes of the tag name
    std::string start_pattern;
    std::string end_pattern;
  };

  // The code-page patterns of one tag name, rebuilt in place: a warm reader allocates
  // nothing for them. The end tag is made only when asked for: most names a record asks
  // for are absent, and their end tag is never needed.
  struct TagPatterns {
    std::string_view name;   // Name
    std::string_view start;  // <Name>
    std::string_view end();  // </Name>
    void set(TextView tag);

   private:
    // The usual short names are built in place; longer ones in the strings.
    static constexpr size_t kInline = 30;
    char start_bytes_[kInline + 2];
    char end_bytes_[kInline + 3];
    std::optional<std::string_view> end_;
    std::string long_start_;
    std::string long_end_;
  };

  friend class FirstValues;  // reads values as get_Value does (xml/first_values.h)

  // A value's bytes as Text, entities replaced (values that are themselves XML stay).
  static Text unescaped_value(std::string_view bytes);
  // The bytes between a start tag and its end tag as the value readers return them:
  // trimmed of blanks, then unescaped.
  static Text value_text(std::string_view between_tags);

  // Shared by the builder members.
  void open_group(TextView tag);
  Text LineBreak() const;
  Text IndentText(int16_t count) const;
  Text indentation_for_level(int16_t level) const;  // 16-bit product, error 6
  void close_innermost_group(int16_t indent_level);
  CString& buffer();               // error 91 when destroyed
  std::vector<Text>& group_stack();  // error 91 when destroyed
  Text ComposeDocument();
  void forget_search_memories();
  // Converted once per call: the pattern bytes of a tag.
  static std::string code_page_bytes(const Text& text);
  // Byte-level helpers shared by the readers and the editors.
  size_t indentation_width(int16_t level) const;  // 16-bit product, error 6
  void append_indentation(std::string& out, int16_t level) const;
  // What a reader has learnt about where the end tags of one name lie: the positions
  // just after the first, second... of them, found as far as asked so far. A document
  // whose "Count" exceeds its elements makes the readers count end tags from the top
  // again and again; with this each count is a lookup, not a pass over the text.
  struct EndTagIndex {
    bool valid = false;
    uint64_t generation = 0;  // of the buffer it was learnt from
    std::string pattern;
    std::vector<uint32_t> after;
    size_t scanned = 0;       // where the search for the next one resumes
    bool exhausted = false;   // no further end tag
  };
  // What the readers and editors have learnt about where tags lie in the buffer's text.
  // Made on first need: most engines only build, or read a short text a few times.
  struct LearntPositions {
    EndTagIndex value_end_tags, block_end_tags, edit_end_tags;
    PatternIndex value_start, value_end, block_start, block_end;
    TagFilter tag_filter;  // of a short text
    void forget();  // the buffer was replaced; the storage is kept
  };
  LearntPositions& learnt();
  // find_bytes on the buffer's text. In a large text the next few kilobytes are searched
  // first (a reader going through the elements in order finds the next one there); past
  // them the given index answers, so a tag that is not there costs no pass per question.
  size_t search(std::string_view text, std::string_view pattern, size_t from,
                PatternIndex LearntPositions::*index) {
    if (text.size() < kIndexedSearchMinimum) {
      if (!may_hold(text, pattern)) return std::string_view::npos;
      return find_bytes(text, pattern, from);
    }
    const size_t near_end = std::min(text.size(), from + kNearbySearch + pattern.size());
    const size_t near = find_bytes(text.substr(0, near_end), pattern, from);
    if (near != std::string_view::npos) return near;
    return (learnt().*index).find(text, pattern, buffer_->generation(), from);
  }
  static constexpr size_t kNearbySearch = 4096;
  // False when the small text certainly lacks the tag pattern. A text searched this many
  // times in one state is filtered first: the filter costs about as much as a dozen
  // searches (records read their fields through FirstValues, not through here).
  bool may_hold(std::string_view text, std::string_view pattern);
  static constexpr size_t kTagFilterMinimum = 64;
  static constexpr uint32_t kSearchesBeforeTagFilter = 12;
  // Where a numbered search starts (0-based): just after element - 1 end tags, or at the
  // top when there are fewer; learnt in index.
  size_t skip_end_tags(std::string_view text, std::string_view end_tag, int16_t element,
                       EndTagIndex LearntPositions::*index);
  void replace_span(size_t from, size_t to, std::string_view replacement);
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
  SearchMemory value_memory_;
  SearchMemory block_memory_;
  TagPatterns value_patterns_;
  TagPatterns block_patterns_;
  std::unique_ptr<LearntPositions> learnt_;
  uint64_t searched_generation_ = 0;  // of the buffer, when searches_ were counted
  uint32_t searches_ = 0;             // of the buffer's text in that state
  ErrorState errors_;
};

// The bytes a fresh engine loaded with xml would hold, for readers that need no engine:
// Text is encoded into storage, bytes are used in place. Error 6 beyond an engine's size.
std::string_view engine_bytes(const Text& xml, std::string& storage);
std::string_view engine_bytes(std::string_view xml, std::string& storage);

}  // namespace vexqom
