#include "xml/snippet_writer.h"

#include <stdexcept>

#include "xml/element_bytes.h"

namespace vexqom {

namespace {

void append_element(std::string& out, const ElementBytes& element) {
  const size_t at = out.size();
  out.resize(at + element.size());
  element.write(out.data() + at);
}

}  // namespace

SnippetWriter::SnippetWriter(bool compress, bool zero_suppress, size_t room)
    : compress_(compress || zero_suppress), zero_suppress_(zero_suppress) {
  own_.reserve(room);
}

SnippetWriter::SnippetWriter(std::string& target, bool compress, bool zero_suppress)
    : out_(&target), compress_(compress || zero_suppress), zero_suppress_(zero_suppress) {}

void SnippetWriter::open(TextView name) {
  if (name.empty()) return;
  if (depth_ == kDepth) throw std::length_error("SnippetWriter: groups nested too deep");
  groups_[depth_++] = name;
  append_element(*out_, ElementBytes{name, TextView(), true, true});
}

void SnippetWriter::add(TextView name, TextView value) {
  if (name.empty() || value_left_out(value, compress_, zero_suppress_)) return;
  append_element(*out_, ElementBytes{name, value, !is_markup(value), false});
}

void SnippetWriter::add(TextView name, Currency amount) {
  if (zero_suppress_ && amount == Currency()) return;
  add(name, TextView(amount.to_text()));
}

void SnippetWriter::add_xml(std::string_view bytes) { *out_ += bytes; }

void SnippetWriter::close() {
  if (depth_ == 0) return;
  const TextView name = groups_[--depth_];
  *out_ += "</";
  append_code_page(*out_, name);
  *out_ += '>';
}

void SnippetWriter::end() {
  while (depth_ > 0) close();
}

std::string SnippetWriter::finish() && {
  end();
  return std::move(*out_);
}

}  // namespace vexqom
