// clsXML: Prettify (one element per line, two-blank indentation, through the DOM parser)
// and XMLcompress (blanks, line breaks and empty elements squeezed out by text search).
#include <algorithm>
#include <exception>
#include <string>
#include <utility>
#include <vector>

#include "frame/memory.h"
#include "frame/procedure.h"
#include "frame/text_procedures.h"
#include "xml/clsXML.h"
#include "xml/dom_document.h"

namespace vexqom {

namespace {

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

// Prettify's writer: each element on a line of its own, two blanks deeper than its parent,
// written as the elements go by. For each open element it keeps the statement its writing
// has reached, so that a failure is reported with one "PrettifyElement" level per open
// element, as a writer calling itself for each child element reports it.
class PrettyWriter final : public DomVisitor {
 public:
  explicit PrettyWriter(std::string& output) : out_(output) {}

  void document_type(const DomNode& doctype) override {
    out_ += "<?xml version='1.0'?>\r\n";
    out_ += doctype.xml();
  }

  void start_element(const DomNode& element) override {
    if (!open_.empty()) child_of_top(11, true);
    open_.push_back(Level{element.name(), 1, false, false});
    Level& level = open_.back();
    level.line = 2;
    out_ += "\r\n";
    out_.append(2 * (open_.size() - 1), ' ');
    out_ += '<';
    out_ += level.name;
    level.line = 3;
    // Values come resolved from the parser and are written as they are.
    for (const DomAttribute& attribute : element.attributes()) {
      level.line = 4;
      out_ += ' ';
      out_ += attribute.name;
      out_ += "='";
      out_ += attribute.value;
      out_ += '\'';
    }
    level.line = 5;
  }

  void child_node(const DomNode& node) override {
    if (node.type() != DomNode::kText) {  // comments, CDATA sections, instructions
      child_of_top(10, false);
      return;
    }
    child_of_top(12, false);
    out_ += node.text();
  }

  void end_element(const DomNode&) override {
    Level& level = open_.back();
    if (!level.has_children) {
      level.line = 6;
      out_ += "/>";
    } else {
      level.line = 13;
      if (level.element_children) {
        out_ += "\r\n";
        out_.append(2 * (open_.size() - 1), ' ');
      }
      level.line = 14;
      out_ += "</";
      out_ += level.name;
      out_ += '>';
    }
    open_.pop_back();
  }

  // Raises the failure again through one handler per open element, innermost first.
  [[noreturn]] void raise_through_open_elements(ErrorState& errors,
                                                std::exception_ptr failure) const {
    for (auto level = open_.rbegin(); level != open_.rend(); ++level) {
      try {
        std::rethrow_exception(failure);
      } catch (...) {
        try {
          raise_from_handler(errors, u"clsXML | PrettifyElement", level->line, current_error());
        } catch (...) {
          failure = std::current_exception();
        }
      }
    }
    std::rethrow_exception(failure);
  }

 private:
  struct Level {
    std::string name;
    int line;
    bool has_children;
    bool element_children;
  };

  void child_of_top(int line, bool element) {
    Level& parent = open_.back();
    if (!parent.has_children) {
      parent.line = 7;
      out_ += '>';
      parent.has_children = true;
    }
    parent.line = line;
    if (element) parent.element_children = true;
  }

  std::string& out_;
  std::vector<Level> open_;
};

}  // namespace

std::string clsXML::prettify_utf8(std::string_view source, int& line) {
  line = 2;
  // Room for the source and its line breaks and indentation, taken once: memory never
  // written is never touched, while growing later would copy the whole output.
  std::string output;
  memory::reserve(output, 2 * source.size() + 64);
  PrettyWriter writer(output);
  // The document is written as it is read, and never held whole.
  if (std::exception_ptr failure = DocumentStream(source, &writer)) {
    line = 8;
    writer.raise_through_open_elements(errors_, failure);
  }
  line = 9;
  if (output.find("<?xml version") == std::string::npos &&
      source.find("<?xml version") != std::string_view::npos) {
    line = 10;
    // The source's own declaration, up to and including its "?>".
    const size_t p = source.find("?>");
    line = 11;
    if (p != std::string_view::npos) output.insert(0, source.substr(0, p + 2));
  }
  return output;
}

Text clsXML::Prettify(const std::optional<Text>& xsXML) {
  return run_procedure(errors_, u"clsXML | Prettify", Trace::No, [&](int& line) -> Text {
    line = 1;
    Text output = from_utf8(prettify_utf8(to_utf8(xsXML ? *xsXML : buffer().get_Value()), line));
    line = 12;
    if (xsXML) return output;
    line = 13;
    buffer().put_Value(output);
    line = 14;
    return Text();
  });
}

std::string clsXML::PrettifyUtf8(std::string_view utf8) {
  return run_procedure(errors_, u"clsXML | Prettify", Trace::No, [&](int& line) -> std::string {
    line = 1;
    return prettify_utf8(utf8, line);
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
