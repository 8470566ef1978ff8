// clsXML: construction, settings, the builder, escaping and the two readers.
//
// The buffer holds code-page bytes. Values and tags are converted once per call; every
// search runs on buffer().bytes() in place.
#include "xml/clsXML.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <utility>

#include "frame/ascii_runs.h"
#include "frame/class_info.h"
#include "frame/procedure.h"
#include "frame/text_procedures.h"
#include "xml/byte_search.h"
#include "xml/element_bytes.h"
#include "xml/pattern_index.h"
#include "vexqom/variant.h"

namespace vexqom {

namespace {

constexpr std::string_view kCrLf = "\r\n";

// Integer arithmetic of the host: results outside 16 bits raise overflow.
int16_t checked16(int32_t v) {
  if (v < std::numeric_limits<int16_t>::min() || v > std::numeric_limits<int16_t>::max()) {
    throw Error(errc::kOverflow);
  }
  return static_cast<int16_t>(v);
}


void replace_all(Text& text, TextView what, TextView with) {
  size_t pos = text.find(what);
  if (pos == Text::npos) return;
  Text out;
  out.reserve(text.size());
  size_t from = 0;
  while (pos != Text::npos) {
    out.append(text, from, pos - from);
    out.append(with);
    from = pos + what.size();
    pos = text.find(what, from);
  }
  out.append(text, from, Text::npos);
  text = std::move(out);
}

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
    // A new buffer starts its generations afresh.
    if (learnt_) learnt_->forget();
    searches_ = 0;
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
      line = 8;
      value_memory_.position = 0;
      value_memory_.element = 0;
      block_memory_.position = 0;
      block_memory_.element = 0;
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

std::string clsXML::code_page_bytes(const Text& text) { return to_code_page(text); }

namespace {

// Where a pattern of size bytes is built: in place when it fits, otherwise in spill.
char* pattern_room(char* in_place, size_t capacity, std::string& spill, size_t size) {
  if (size <= capacity) return in_place;
  spill.resize(size);
  return spill.data();
}

}  // namespace

void clsXML::TagPatterns::set(TextView tag) {
  const size_t n = tag.size();
  char* a = pattern_room(start_bytes_, sizeof start_bytes_, long_start_, n + 2);
  a[0] = '<';
  // Tag names are short and ASCII: narrowed here without the general conversion's call.
  const size_t ascii = narrow_ascii_run(tag.data(), n, a + 1);
  if (ascii < n) encode_code_page(tag.substr(ascii), a + 1 + ascii);
  a[n + 1] = '>';
  start = std::string_view(a, n + 2);
  name = start.substr(1, n);
  end_.reset();
}

std::string_view clsXML::TagPatterns::end() {
  if (end_) return *end_;
  const size_t n = name.size();
  char* b = pattern_room(end_bytes_, sizeof end_bytes_, long_end_, n + 3);
  b[0] = '<';
  b[1] = '/';
  std::memcpy(b + 2, name.data(), n);
  b[n + 2] = '>';
  return *(end_ = std::string_view(b, n + 3));
}

bool looks_like_xml(TextView text) { return is_markup(text); }

Text clsXML::unescaped_value(std::string_view bytes) {
  Text value = from_code_page(bytes);
  if (bytes.find('&') == std::string_view::npos) return value;
  return UnescapeText(value);
}

Text clsXML::value_text(std::string_view between_tags) {
  return unescaped_value(trim_byte_blanks(between_tags));
}

Text clsXML::LineBreak() const { return formatted_ ? Text(u"\r\n") : Text(); }

// A level below 1 (a Level set low, groups closed beyond it) gives a negative count:
// no blanks rather than a failure.
Text clsXML::IndentText(int16_t count) const {
  if (!formatted_ || count <= 0) return Text();
  return Text(static_cast<size_t>(count), u' ');
}

Text clsXML::indentation_for_level(int16_t level) const {
  return IndentText(checked16(int32_t{checked16(int32_t{level} - 1)} * indent_));
}

size_t clsXML::indentation_width(int16_t level) const {
  const int16_t count = checked16(int32_t{checked16(int32_t{level} - 1)} * indent_);
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
  out += "</";
  append_code_page(out, groups.back());
  out += '>';
  if (formatted_) out += kCrLf;
  buf.AppendBytes(out);
  groups.pop_back();
}

void clsXML::forget_search_memories() {
  value_memory_.position = 0;
  value_memory_.element = 0;
  block_memory_.position = 0;
  block_memory_.element = 0;
}

void clsXML::LearntPositions::forget() {
  value_end_tags.valid = false;
  block_end_tags.valid = false;
  edit_end_tags.valid = false;
  value_start.forget();
  value_end.forget();
  block_start.forget();
  block_end.forget();
  tag_filter.forget();
}

clsXML::LearntPositions& clsXML::learnt() {
  if (!learnt_) learnt_ = std::make_unique<LearntPositions>();
  return *learnt_;
}

bool clsXML::may_hold(std::string_view text, std::string_view pattern) {
  if (text.size() < kTagFilterMinimum) return true;
  const uint64_t generation = buffer_->generation();
  if (!learnt_ || !learnt_->tag_filter.built_for(generation)) {
    if (searched_generation_ != generation) {
      searched_generation_ = generation;
      searches_ = 0;
    }
    if (++searches_ < kSearchesBeforeTagFilter) return true;
    learnt().tag_filter.build(text, generation);
  }
  return learnt_->tag_filter.may_hold(pattern);
}

size_t clsXML::skip_end_tags(std::string_view text, std::string_view end_tag, int16_t element,
                             EndTagIndex LearntPositions::*which) {
  if (element <= 1) return 0;
  EndTagIndex& index = learnt().*which;
  const uint64_t generation = buffer().generation();
  if (!index.valid || index.generation != generation || index.pattern != end_tag) {
    index.valid = true;
    index.generation = generation;
    index.pattern.assign(end_tag);
    index.after.clear();
    index.scanned = 0;
    index.exhausted = false;
  }
  const size_t wanted = static_cast<size_t>(element) - 1;
  while (index.after.size() < wanted && !index.exhausted) {
    const size_t found = find_bytes(text, end_tag, index.scanned);
    if (found == std::string_view::npos) {
      index.exhausted = true;
      break;
    }
    index.scanned = found + end_tag.size();
    index.after.push_back(static_cast<uint32_t>(index.scanned));
  }
  if (index.after.size() < wanted) return 0;  // too few: start over at the top
  return index.after[wanted - 1];
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
  value_memory_ = SearchMemory{};
  block_memory_ = SearchMemory{};
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
  replace_all(header, u"{ver}", version);
  replace_all(header, u"{enc}", encoding);

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
    const ElementBytes element{xsTagNam, xsStrVal, validate_ && !is_markup(xsStrVal), xbNewGroup};
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
    if (xbNewGroup) level_ = checked16(int32_t{level_} + 1);
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
  level_ = checked16(int32_t{level_} - 1);
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

Text clsXML::EscapeValue(const Text& text) {
  if (looks_like_xml(text)) return text;
  size_t first = text.find_first_of(u"&<>'\"");
  if (first == Text::npos) return text;
  Text out(text, 0, first);
  out.reserve(text.size() + 16);
  for (size_t i = first; i < text.size(); ++i) {
    const char16_t c = text[i];
    const char* entity = c < 0x80 ? entity_for(static_cast<char>(c)) : nullptr;
    if (entity) {
      for (const char* p = entity; *p; ++p) out += static_cast<char16_t>(*p);
    } else {
      out += c;
    }
  }
  return out;
}

Text clsXML::GetFieldValue(const Text& xsXMLfield) {
  size_t amp = xsXMLfield.find(u'&');
  if (amp == Text::npos) return xsXMLfield;
  // The five references replaced one after the other, ampersands last ("&amp;lt;" gives
  // "&lt;"), in one pass: references cannot overlap, and a replacement never forms or
  // breaks another one, so each is replaced where the text holds it and nothing more.
  static constexpr std::pair<TextView, char16_t> kReferences[] = {
      {u"&lt;", u'<'}, {u"&gt;", u'>'}, {u"&apos;", u'\''}, {u"&quot;", u'"'}, {u"&amp;", u'&'}};
  const TextView in = xsXMLfield;
  Text out;
  out.reserve(in.size());
  size_t from = 0;
  while (amp != TextView::npos) {
    out.append(in.substr(from, amp - from));
    from = amp + 1;
    char16_t replaced = u'&';
    for (const auto& [reference, character] : kReferences) {
      if (in.substr(amp, reference.size()) == reference) {
        replaced = character;
        from = amp + reference.size();
        break;
      }
    }
    out += replaced;
    amp = in.find(u'&', from);
  }
  out.append(in.substr(from));
  return out;
}

Text clsXML::UnescapeText(const Text& text) {
  if (looks_like_xml(text)) return text;
  return GetFieldValue(text);
}

// ---------------------------------------------------------------------------
// Readers

Text clsXML::get_Value(TextView xsTagName, int16_t xiElement) {
  return run_procedure(errors_, u"clsXML | Get Value", Trace::Yes, [&](int& line) -> Text {
    line = 1;
    const std::string_view text = buffer().bytes();
    if (text.empty() || xsTagName.empty()) return Text();
    line = 2;
    TagPatterns& tag = value_patterns_;
    tag.set(xsTagName);
    line = 3;
    size_t from = 0;
    if (value_memory_.tag == tag.name && value_memory_.element == int32_t{xiElement} - 1 &&
        value_memory_.position > 0) {
      from = static_cast<size_t>(value_memory_.position) - 1;
    } else {
      line = 4;
      if (xiElement > 1) {  // the first element needs no end tag counted
        from = skip_end_tags(text, tag.end(), xiElement, &LearntPositions::value_end_tags);
      }
    }
    line = 5;
    value_memory_.position = 0;
    line = 6;
    const size_t s = search(text, tag.start, from, &LearntPositions::value_start);
    if (s == std::string_view::npos) return Text();
    const size_t value_begin = s + tag.start.size();
    line = 7;
    const size_t e = search(text, tag.end(), value_begin, &LearntPositions::value_end);
    if (e == std::string_view::npos) return Text();
    line = 8;
    value_memory_.position = static_cast<int32_t>(e + tag.end().size() + 1);
    value_memory_.element = xiElement;
    value_memory_.tag = tag.name;
    line = 9;
    return value_text(text.substr(value_begin, e - value_begin));
  });
}

Text clsXML::get_Block(TextView xsTagName, int16_t xiElement) {
  return from_code_page(get_Block_bytes(xsTagName, xiElement));
}

std::string_view engine_bytes(const Text& xml, std::string& storage) {
  if (xml.size() > static_cast<size_t>(INT32_MAX)) throw Error(errc::kOverflow);
  storage = to_code_page(xml);
  return storage;
}

std::string_view engine_bytes(std::string_view xml, std::string&) {
  if (xml.size() > static_cast<size_t>(INT32_MAX)) throw Error(errc::kOverflow);
  return xml;
}

std::string_view clsXML::get_Block_bytes(TextView xsTagName, int16_t xiElement) {
  using Bytes = std::string_view;
  return run_procedure(errors_, u"clsXML | Get Block", Trace::No, [&](int& line) -> Bytes {
    line = 1;
    const std::string_view text = buffer().bytes();
    if (text.empty() || xsTagName.empty()) return Bytes();
    line = 2;
    TagPatterns& tag = block_patterns_;
    tag.set(xsTagName);
    const std::string_view name = tag.name;
    std::string start;
    std::string end;
    size_t from = 0;
    const bool remembered = block_memory_.tag == name &&
                            block_memory_.element == int32_t{xiElement} - 1 &&
                            block_memory_.position > 0;
    if (remembered) {
      line = 3;
      start = block_memory_.start_pattern;
      end = block_memory_.end_pattern;
      from = static_cast<size_t>(block_memory_.position) - 1;
    } else {
      line = 4;
      start = tag.start;
      end = tag.end();
      from = skip_end_tags(text, end, xiElement, &LearntPositions::block_end_tags);
    }
    line = 5;
    block_memory_.position = 0;
    size_t s = search(text, start, from, &LearntPositions::block_start);
    line = 6;
    if (s == std::string_view::npos) {
      if (remembered) return Bytes();
      line = 7;
      start.assign("<").append(name).append(" ");  // a start tag with attributes
      s = find_bytes(text, start, from);
      if (s == std::string_view::npos) return Bytes();
    }
    line = 8;
    size_t e = search(text, end, s, &LearntPositions::block_end);
    line = 9;
    if (e == std::string_view::npos) {
      if (remembered) return Bytes();
      line = 10;
      end = "/>";  // an empty-element tag
      e = find_bytes(text, end, s);
      if (e == std::string_view::npos) return Bytes();
    }
    line = 11;
    const size_t after = e + end.size();
    block_memory_.position = static_cast<int32_t>(after + 1);
    block_memory_.element = xiElement;
    block_memory_.tag = name;
    block_memory_.start_pattern = std::move(start);
    block_memory_.end_pattern = std::move(end);
    line = 12;
    return trim_byte_blanks(text.substr(s, after - s));
  });
}

}  // namespace vexqom
