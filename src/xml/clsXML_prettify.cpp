// clsXML: Prettify (one element per line, two-blank indentation, through the DOM parser)
// and XMLcompress (blanks, line breaks and empty elements squeezed out by text search).
#include <algorithm>
#include <utility>

#include "frame/memory.h"
#include "frame/procedure.h"
#include "frame/text_procedures.h"
#include "xml/clsXML.h"
#include "xml/dom_document.h"

namespace vexqom {

namespace {

constexpr TextView kCrLf = u"\r\n";

// Blank runs that fill the whole gap between a ">" and the next "<" go; a gap holding
// anything else stays as it is.
Text remove_blank_gaps(const Text& text) {
  size_t gt = text.find(u'>');
  if (gt == Text::npos) return text;
  Text out;
  out.reserve(text.size());
  size_t copied = 0;  // text[0, copied) is in out (less any gaps dropped)
  while (gt != Text::npos) {
    const size_t lt = text.find(u'<', gt + 1);
    if (lt == Text::npos) break;
    const bool blanks_only =
        lt > gt + 1 && std::all_of(text.begin() + static_cast<std::ptrdiff_t>(gt + 1),
                                   text.begin() + static_cast<std::ptrdiff_t>(lt),
                                   [](char16_t c) { return c == u' '; });
    out.append(text, copied, gt + 1 - copied);
    copied = blanks_only ? lt : gt + 1;
    gt = text.find(u'>', lt + 1);
  }
  out.append(text, copied, Text::npos);
  return out;
}

// The text of the empty-element step, held as the part before a gap plus the rest of the
// source after it. Every cut of that step starts at or before the gap and ends after
// it, so a cut costs only the characters it moves across, not a copy of the whole text.
class SplicedText {
 public:
  explicit SplicedText(Text text) : rest_(std::move(text)), end_(rest_.size()) {}

  size_t size() const { return head_.size() + (end_ - next_); }
  char16_t at(size_t p) const {
    return p < head_.size() ? head_[p] : rest_[next_ + (p - head_.size())];
  }
  Text range(size_t from, size_t to) const {
    Text out;
    out.reserve(to - from);
    for (size_t p = from; p < to; ++p) out += at(p);
    return out;
  }

  // First "></" at or after from.
  size_t find_empty_end(size_t from) const {
    for (size_t p = from; p + 2 < size(); ++p) {
      if (at(p) == u'>' && at(p + 1) == u'<' && at(p + 2) == u'/') return p;
    }
    return Text::npos;
  }
  size_t find(char16_t c, size_t from) const {
    for (size_t p = from; p < size(); ++p) {
      if (at(p) == c) return p;
    }
    return Text::npos;
  }
  size_t rfind(char16_t c, size_t from) const {
    for (size_t p = from + 1; p-- > 0;) {
      if (at(p) == c) return p;
    }
    return Text::npos;
  }

  // The text becomes text[0, j) and text[k + 1, end), each trimmed of blanks at both
  // ends. Returns the length of the first part, where the two now meet.
  size_t cut(size_t j, size_t k) {
    const size_t gap = head_.size();
    const size_t after = k + 1;
    if (after >= gap) {
      const size_t next = next_ + (after - gap);
      if (j >= gap) {
        head_.append(rest_, next_, j - gap);
      } else {
        head_.resize(j);
      }
      next_ = next;
    } else {
      head_.erase(j, after - j);  // a cut wholly before the gap: plain erase
    }
    while (!head_.empty() && head_.back() == u' ') head_.pop_back();
    size_t lead = 0;
    while (lead < head_.size() && head_[lead] == u' ') ++lead;
    if (lead > 0) head_.erase(0, lead);  // at most once: the text then starts non-blank
    while (next_ < end_ && rest_[next_] == u' ') ++next_;
    while (end_ > next_ && rest_[end_ - 1] == u' ') --end_;
    return head_.size();
  }

  Text take() && {
    head_.append(rest_, next_, end_ - next_);
    return std::move(head_);
  }

 private:
  Text head_;
  Text rest_;
  size_t next_ = 0;  // the first character of rest_ after the gap
  size_t end_;       // rest_[end_, ...) has been trimmed away
};

// Elements whose end tag follows their start tag directly go, and with them blanks on
// both sides; an enclosing element left empty goes in turn.
Text remove_empty_elements(Text source, bool (*matching)(const Text&, int32_t, int32_t)) {
  SplicedText text(std::move(source));
  size_t scan = 0;         // the scan position (0-based)
  size_t search_from = 0;  // no "></" starts in [scan, search_from)
  for (;;) {
    const size_t i = text.find_empty_end(search_from);
    if (i == Text::npos) break;
    const size_t j = text.rfind(u'<', i);
    const size_t k = text.find(u'>', i + 3);
    if (j == Text::npos || k == Text::npos) {
      // No start tag before it or no end after it: nothing to remove here.
      scan = search_from = i + 3;
      continue;
    }
    // The names lie within the two tags, so the test needs only that stretch.
    const Text tags = text.range(j, k + 1);
    if (matching(tags, 1, static_cast<int32_t>(tags.size()))) {
      const size_t joint = text.cut(j, k);
      // The scan position stays; a new "></" can only have formed where the parts met.
      search_from = std::max(scan, joint >= 2 ? joint - 2 : 0);
    } else {
      scan = search_from = k + 1;
    }
  }
  return std::move(text).take();
}

}  // namespace

Text clsXML::Prettify(const std::optional<Text>& xsXML) {
  return run_procedure(errors_, u"clsXML | Prettify", Trace::No, [&](int& line) -> Text {
    line = 1;
    Text stored;
    if (!xsXML) stored = buffer().get_Value();
    const Text& source = xsXML ? *xsXML : stored;
    line = 2;
    Ref<DomDocument> document = DocumentCreate(source, false);
    line = 3;
    // Room for the source and its line breaks and indentation, taken once.
    Text output;
    memory::reserve(output, source.size() + source.size() / 2);
    line = 4;
    if (DomNode doctype = document->doctype()) {
      line = 5;
      output += u"<?xml version='1.0'?>\r\n";
      output += from_utf8(doctype.xml());
    }
    line = 6;
    DomNode root = document->document_element();
    line = 7;
    root.normalize();
    line = 8;
    PrettifyElement(root, output, Text());
    line = 9;
    if (output.find(u"<?xml version") == Text::npos &&
        source.find(u"<?xml version") != Text::npos) {
      line = 10;
      // The source's own declaration, up to and including its "?>".
      const size_t p = source.find(u"?>");
      line = 11;
      if (p != Text::npos) output = source.substr(0, p + 2) + output;
    }
    line = 12;
    if (xsXML) return output;
    line = 13;
    buffer().put_Value(output);
    line = 14;
    return Text();
  });
}

void clsXML::PrettifyElement(DomNode& element, Text& output, const Text& indentation) {
  run_procedure(errors_, u"clsXML | PrettifyElement", Trace::No, [&](int& line) {
    line = 1;
    const Text name = from_utf8(element.name());
    line = 2;
    output += kCrLf;
    output += indentation;
    output += u'<';
    output += name;
    line = 3;
    // Values come resolved from the parser and are written as they are.
    for (const DomAttribute& attribute : element.attributes()) {
      line = 4;
      output += u' ';
      output += from_utf8(attribute.name);
      output += u"='";
      output += from_utf8(attribute.value);
      output += u'\'';
    }
    line = 5;
    if (!element.has_child_nodes()) {
      line = 6;
      output += u"/>";
      return;
    }
    line = 7;
    output += u'>';
    line = 8;
    const Text deeper = indentation + u"  ";
    bool element_children = false;
    line = 9;
    for (DomNode& child : element.child_nodes()) {
      line = 10;
      switch (child.type()) {
        case DomNode::kElement:
          line = 11;
          PrettifyElement(child, output, deeper);
          element_children = true;
          break;
        case DomNode::kText:
          line = 12;
          output += from_utf8(child.text());
          break;
        default:  // comments, CDATA sections, processing instructions
          break;
      }
    }
    line = 13;
    if (element_children) {
      output += kCrLf;
      output += indentation;
    }
    line = 14;
    output += u"</";
    output += name;
    output += u'>';
  });
}

Text clsXML::XMLcompress(const std::optional<Text>& xvXML) {
  return run_procedure(errors_, u"clsXML | XMLcompress", Trace::No, [&](int& line) -> Text {
    line = 1;
    Text text = xvXML ? *xvXML : buffer().get_Value();
    line = 2;
    const TextView kept = trim_blanks(text);
    const size_t leading = static_cast<size_t>(kept.data() - text.data());
    text.resize(leading + kept.size());
    text.erase(0, leading);
    line = 3;
    if (formatted_) {
      line = 4;
      text = str_CharEliminate(text, u"\r\n\t", false);
      line = 5;
      text = remove_blank_gaps(text);
    }
    line = 6;
    text = remove_empty_elements(std::move(text), &clsXML::XCmatchingTags);
    line = 7;
    if (!xvXML) buffer().put_Value(text);
    line = 8;
    return text;
  });
}

bool clsXML::XCmatchingTags(const Text& text, int32_t j, int32_t k) {
  if (j < 1 || k < 1 || static_cast<size_t>(k) > text.size()) return false;
  const size_t start = static_cast<size_t>(j) - 1;
  const size_t end = static_cast<size_t>(k) - 1;
  // The start tag's name runs from after "<" to its ">".
  const size_t start_close = text.find(u'>', start);
  if (start_close == Text::npos) return false;
  // The end tag's name runs from after "</" to its ">" at k.
  const size_t end_open = text.rfind(u'<', end);
  if (end_open == Text::npos || end_open + 2 > end) return false;
  return TextView(text).substr(start + 1, start_close - start - 1) ==
         TextView(text).substr(end_open + 2, end - end_open - 2);
}

}  // namespace vexqom
