// clsXML: elements with one attribute, attribute reads and edits, in-place replacement
// of a numbered element or its value. All by literal search on the buffer's bytes.
#include <limits>

#include "frame/procedure.h"
#include "frame/text_procedures.h"
#include "xml/byte_search.h"
#include "xml/clsXML.h"
#include "xml/entities.h"

namespace vexqom {

namespace {

constexpr size_t npos = std::string_view::npos;

// The start tag an attribute member works on: the first "<tag" (a prefix match), ending
// at the first "/>" after it, or at the first ">" only when no "/>" follows at all.
struct StartTag {
  size_t begin = npos;
  size_t end = npos;  // position of the '/' of "/>" or of the '>'
};

StartTag locate_start_tag(std::string_view text, std::string_view open) {
  StartTag tag;
  const size_t begin = find_bytes(text, open);
  if (begin == npos) return tag;
  size_t end = text.find("/>", begin);
  if (end == npos) end = text.find('>', begin);
  if (end == npos) return tag;
  tag.begin = begin;
  tag.end = end;
  return tag;
}

bool is_quote(char c) { return c == '\'' || c == '"'; }

std::string tag_opening(const Text& tag) {
  std::string open = "<";
  append_code_page(open, tag);
  return open;
}

}  // namespace

void clsXML::AddAttrVal(const Text& xsTagNam, const Text& xsAttr, const Text& xsVal,
                        bool xbNewGroup) {
  run_procedure(errors_, u"clsXML | AddAttrVal", Trace::No, [&](int& line) {
    line = 1;
    if (xbNewGroup) {
      line = 2;
      open_group(xsTagNam);
    }
    line = 3;
    CString& buf = buffer();
    std::string out;
    append_indentation(out, level_);
    out += '<';
    append_code_page(out, xsTagNam);
    out += ' ';
    append_code_page(out, xsAttr);
    out += '=';
    line = 4;
    append_code_page(out, str_Quoted(EscapeValue(xsVal)));
    out += xbNewGroup ? ">" : "/>";
    if (formatted_) out += "\r\n";
    line = 5;
    buf.AppendBytes(out);
    line = 6;
    if (xbNewGroup) {
      if (level_ == std::numeric_limits<int16_t>::max()) throw Error(errc::kOverflow);
      ++level_;
    }
  });
}

Text clsXML::get_Attrib(const Text& xsTag, const Text& xsAttr) {
  return run_procedure(errors_, u"clsXML | Get Attrib", Trace::No, [&](int& line) -> Text {
    line = 1;
    const std::string_view text = buffer().bytes();
    line = 2;
    const StartTag tag = locate_start_tag(text, tag_opening(xsTag));
    if (tag.begin == npos) return Text();
    line = 3;
    const std::string assign = to_code_page(xsAttr) + "=";
    const size_t a = text.find(assign, tag.begin);
    if (a == npos || a > tag.end) return Text();
    line = 4;
    const size_t open = a + assign.size();
    if (open >= text.size() || !is_quote(text[open])) return Text();
    line = 5;
    const size_t close = text.find(text[open], open + 1);
    if (close == npos || close > tag.end) return Text();
    line = 6;
    return UnescapeText(from_code_page(text.substr(open + 1, close - open - 1)));
  });
}

void clsXML::put_Attrib(const Text& xsTag, const Text& xsAttr, const Text& xsValue) {
  run_procedure(errors_, u"clsXML | Let Attrib", Trace::No, [&](int& line) {
    line = 1;
    const std::string_view text = buffer().bytes();
    line = 2;
    const StartTag tag = locate_start_tag(text, tag_opening(xsTag));
    if (tag.begin == npos) return;
    line = 3;
    const std::string assign = to_code_page(xsAttr) + "=";
    const size_t a = text.find(assign, tag.begin);
    if (a != npos && a > tag.end) return;
    if (a != npos) {
      line = 4;
      const size_t open = a + assign.size();
      if (open >= text.size() || !is_quote(text[open])) return;
      const size_t close = text.find(text[open], open + 1);
      if (close == npos || close > tag.end) return;
      line = 5;
      // The quotation marks stay as they were; only the text between them changes.
      replace_span(open + 1, close, to_code_page(EscapeValue(xsValue)));
    } else {
      line = 6;
      // Inserted before "/>" or ">", so an empty-element tag stays one.
      std::string inserted = " " + assign;
      append_code_page(inserted, str_Quoted(EscapeValue(xsValue)));
      line = 7;
      replace_span(tag.end, tag.end, inserted);
    }
    line = 8;
    reader_.forget_positions();
  });
}

// Block let and Value let: the numbered element, or only its value, replaced.
void clsXML::replace_element(TextView label, const Text& xsTagName, int16_t xiElement,
                             bool value_only, const Text& replacement) {
  run_procedure(errors_, label, Trace::No, [&](int& line) {
    line = 1;
    if (buffer().bytes().empty() || xsTagName.empty()) return;
    line = 2;
    const std::string name = to_code_page(xsTagName);
    line = 3;
    const std::optional<TagReader::Span> span = reader().element(name, xiElement);
    if (!span) return;
    line = 4;
    replace_span(value_only ? span->value : span->start, value_only ? span->end : span->after,
                 to_code_page(replacement));
    line = 5;
    reader_.forget_positions();
  });
}

void clsXML::put_Block(const Text& xsTagName, int16_t xiElement, const Text& xsBlock) {
  replace_element(u"clsXML | Let Block", xsTagName, xiElement, false, xsBlock);
}

void clsXML::put_Value(const Text& xsTagName, int16_t xiElement, const Text& xsValue) {
  // Escaped always, whatever validate says.
  replace_element(u"clsXML | Let Value", xsTagName, xiElement, true, EscapeValue(xsValue));
}

}  // namespace vexqom
