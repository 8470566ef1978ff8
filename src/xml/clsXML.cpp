// clsXML: construction, settings, the builder, escaping and the two readers.
//
// The buffer holds code-page bytes. Values and tags are converted once per call; every
// search runs on buffer().bytes() in place.
#include "xml/clsXML.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <utility>

#include "frame/class_info.h"
#include "frame/procedure.h"
#include "frame/rounding.h"
#include "frame/text_procedures.h"
#include "vexqom/variant.h"
#include "xml/element_writer.h"
#include "xml/entities.h"

namespace vexqom {

namespace {

constexpr std::string_view kCrLf = "\r\n";

Text apostrophes_to_quotes(Text text) {
  for (char16_t& c : text) {
    if (c == u'\'') c = u'"';
  }
  return text;
}

// The closing text for a Prefix that holds a blank: when the Prefix opens an element
// ("<name attr...>", not a declaration, comment or empty-element tag) the matching end
// tag "</name>", otherwise nothing.
Text derived_suffix(const Text& prefix) {
  if (prefix.size() < 2 || prefix[0] != u'<') return Text();
  const char16_t first = prefix[1];
  if (first == u'!' || first == u'?' || first == u'/' || first == u' ' || first == u'>') {
    return Text();
  }
  if (prefix.size() >= 2 && prefix.compare(prefix.size() - 2, 2, u"/>") == 0) return Text();
  size_t end = prefix.find_first_of(u" \t\r\n/>", 1);
  if (end == Text::npos) end = prefix.size();
  return u"</" + prefix.substr(1, end - 1) + u">";
}

}  // namespace

// ---------------------------------------------------------------------------
// Lifetime

clsXML::clsXML() { Clear(false); }

clsXML::~clsXML() {
  ignore_errors([&] { Clear(true); });
  errors_ = ErrorState{};
}

const ClassInfo& clsXML::class_info() const { return private_class_info("clsXML"); }

void clsXML::Clear(bool xbDestroyObject) {
  run_procedure(errors_, u"clsXML | Clear", Trace::No, [&](int& line) {
    line = 1;
    buffer_.reset();
    groups_.reset();
    reader_.forget_text();  // a new buffer starts its generations afresh
    line = 2;
    loaded_ = false;
    version_.clear();
    encoding_.clear();
    stylesheet_.clear();
    line = 3;
    snippet_ = false;
    formatted_ = false;
    validate_ = true;
    compress_ = false;
    zero_suppress_ = false;
    line = 4;
    quote_ = u'"';
    apostrophe_ = u'\'';
    prefix_.clear();
    suffix_.clear();
    doctype_.clear();
    group_counter_ = 0;
    level_ = 1;
    indent_ = 4;
    line = 5;
    if (!xbDestroyObject) {
      line = 6;
      header_template_.reset();
      version_ = u"1.0";
      encoding_ = u"UTF-8";
      line = 7;
      buffer_ = create<CString>();
      groups_.emplace();
    }
  });
}

// ---------------------------------------------------------------------------
// Settings

void clsXML::put_ZeroSuppress(bool xbVal) {
  zero_suppress_ = xbVal;
  if (xbVal) compress_ = true;
}

void clsXML::put_Version(const Text& xsVal) { version_ = apostrophes_to_quotes(xsVal); }
void clsXML::put_Stylesheet(const Text& xsVal) { stylesheet_ = apostrophes_to_quotes(xsVal); }
void clsXML::put_Encoding(const Text& xsVal) { encoding_ = apostrophes_to_quotes(xsVal); }
void clsXML::put_DOCTYPE(const Text& xsVal) { doctype_ = apostrophes_to_quotes(xsVal); }

void clsXML::put_Prefix(const Text& xsVal) {
  prefix_ = apostrophes_to_quotes(xsVal);
  suffix_ = prefix_.find(u' ') == Text::npos ? Text() : derived_suffix(prefix_);
}

void clsXML::put_indent(const Text& xiVal) {
  double v = 0;
  if (!is_numeric_text(xiVal, &v)) throw Error(errc::kTypeMismatch);
  if (v < 0) v = 4;
  if (v > 10) v = 10;
  indent_ = round_to_integer(v);
}

void clsXML::put_Level(int16_t xiLevel) {
  if (xiLevel < level_) {
    // One group only, indented from the level before lowering.
    close_innermost_group(level_);
    level_ = xiLevel;
  } else if (snippet_) {
    level_ = xiLevel;
  }
}

// ---------------------------------------------------------------------------
// Shared pieces

CString& clsXML::buffer() {
  if (!buffer_) throw Error(errc::kObjectNotSet);
  return *buffer_;
}

std::vector<Text>& clsXML::group_stack() {
  if (!groups_) throw Error(errc::kObjectNotSet);
  return *groups_;
}

TagReader& clsXML::reader() {
  const CString& buf = buffer();
  reader_.look_at(buf.bytes(), buf.generation());
  return reader_;
}

size_t clsXML::indentation_width(int16_t level) const {
  const int16_t count = narrowed<int16_t>(int32_t{narrowed<int16_t>(level - 1)} * indent_);
  return formatted_ && count > 0 ? static_cast<size_t>(count) : 0;
}

void clsXML::append_indentation(std::string& out, int16_t level) const {
  out.append(indentation_width(level), ' ');
}

void clsXML::close_innermost_group(int16_t indent_level) {
  CString& buf = buffer();
  std::string out;
  append_indentation(out, indent_level);
  std::vector<Text>& groups = group_stack();
  if (groups.empty()) throw Error(errc::kInvalidProcedureCall);  // no such list entry
  Element{groups.back(), TextView(), false, Element::kEnd}.append_to(out);
  if (formatted_) out += kCrLf;
  buf.AppendBytes(out);
  groups.pop_back();
}

void clsXML::replace_span(size_t from, size_t to, std::string_view replacement) {
  CString& buf = buffer();
  const std::string_view text = buf.bytes();
  // Before + new + after. A span whose end lies before its start (an end tag that
  // overlaps the start tag) repeats the overlap rather than failing.
  std::string rebuilt;
  rebuilt.reserve(from + replacement.size() + (text.size() - to));
  rebuilt.append(text.substr(0, from));
  rebuilt.append(replacement);
  rebuilt.append(text.substr(to));
  if (rebuilt.size() > static_cast<size_t>(std::numeric_limits<int32_t>::max())) {
    throw Error(errc::kOutOfMemory);
  }
  buf.SetFromPointer(rebuilt.data(), static_cast<int32_t>(rebuilt.size()));
}

// ---------------------------------------------------------------------------
// Whole text

void clsXML::put_XML(const Text& xsXML) {
  if (!buffer_) buffer_ = create<CString>();
  buffer_->put_Value(xsXML);
  reader_.forget_positions();
  loaded_ = true;
}

Text clsXML::get_XML() {
  if (loaded_) return from_code_page(buffer().bytes());
  return ComposeDocument();
}

Text clsXML::ComposeDocument() {
  // The closing tags go into the buffer itself: the groups stay closed.
  while (!group_stack().empty()) EndGroup();
  CString& buf = buffer();
  if (snippet_) return from_code_page(buf.bytes());

  const Text version = version_.empty() ? Text() : u"version=" + str_Quoted(version_);
  const Text encoding = encoding_.empty() ? Text() : u"encoding=" + str_Quoted(encoding_);
  Text& header = header_template_ ? *header_template_
                                  : header_template_.emplace(u"<?xml {ver} {enc} ?>");
  header = replace_all(replace_all(header, u"{ver}", version), u"{enc}", encoding);

  Text out = header;
  for (const Text* part : {&stylesheet_, &prefix_, &doctype_}) {
    if (!part->empty()) {
      out += *part;
      out += u"\r\n";
    }
  }
  out += from_code_page(buf.bytes());
  if (!suffix_.empty()) {
    out += suffix_;
    out += u"\r\n";
  }
  return out;
}

// ---------------------------------------------------------------------------
// Builder

void clsXML::Add(TextView xsTagNam, TextView xsStrVal, bool xbNewGroup, bool xbEndGroup) {
  run_procedure(errors_, u"clsXML | Add", Trace::No, [&](int& line) {
    line = 1;
    if (xsTagNam.empty()) return;
    line = 2;
    if (xbNewGroup) {
      line = 3;
      open_group(xsTagNam);
    } else if (compress_) {
      line = 4;
      if (xsStrVal.empty()) return;
      line = 5;
      if (value_left_out(xsStrVal, compress_, zero_suppress_)) return;
    }
    line = 6;
    CString& buf = buffer();
    const size_t indent = indentation_width(level_);
    line = 7;
    // The element is written straight into the buffer: its size is known beforehand.
    const Element element{xsTagNam, xsStrVal, validate_ && !is_markup(xsStrVal),
                          xbNewGroup ? Element::kStart : Element::kWhole};
    const size_t size = indent + element.size() + (formatted_ ? 2 : 0);
    line = 8;
    char* out = buf.AppendSpace(size);
    if (indent > 0) {  // unformatted, the usual case, has none
      std::memset(out, ' ', indent);
      out += indent;
    }
    out = element.write(out);
    if (formatted_) {
      *out++ = '\r';
      *out++ = '\n';
    }
    line = 9;
    if (xbNewGroup) level_ = narrowed<int16_t>(int32_t{level_} + 1);
    line = 10;
    if (xbEndGroup) EndGroup();
  });
}

void clsXML::open_group(TextView tag) {
  std::vector<Text>& groups = group_stack();
  if (group_counter_ == std::numeric_limits<int32_t>::max()) throw Error(errc::kOverflow);
  ++group_counter_;
  groups.emplace_back(tag);
}

void clsXML::AddXML(const Text& xsXML) {
  CString& buf = buffer();
  std::string out;
  append_indentation(out, level_);
  append_code_page(out, xsXML);
  if (formatted_) out += kCrLf;
  buf.AppendBytes(out);
}

void clsXML::EndGroup() {
  if (group_stack().empty()) return;
  level_ = narrowed<int16_t>(int32_t{level_} - 1);
  close_innermost_group(level_);
}

void clsXML::Comment(const Text& xsComment) {
  CString& buf = buffer();
  std::string out = "<!-- \t";
  append_code_page(out, xsComment);
  out += "\t-->";
  if (formatted_) out += kCrLf;
  buf.AppendBytes(out);
}

// ---------------------------------------------------------------------------
// Escaping

Text clsXML::EscapeValue(const Text& text) { return escape_value(text); }

Text clsXML::GetFieldValue(const Text& xsXMLfield) { return replace_entities(xsXMLfield); }

Text clsXML::UnescapeText(const Text& text) {
  return is_markup(text) ? text : replace_entities(text);
}

// ---------------------------------------------------------------------------
// Readers

Text clsXML::get_Value(TextView xsTagName, int16_t xiElement) {
  return run_procedure(errors_, u"clsXML | Get Value", Trace::Yes, [&](int& line) {
    line = 1;
    return reader().value(xsTagName, xiElement);
  });
}

Text clsXML::get_Block(TextView xsTagName, int16_t xiElement) {
  return run_procedure(errors_, u"clsXML | Get Block", Trace::No, [&](int& line) {
    line = 1;
    return from_code_page(reader().block(xsTagName, xiElement));
  });
}

}  // namespace vexqom
