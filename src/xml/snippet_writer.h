// SnippetWriter: a record's XML form written the way a snippet engine writes it.
//
// A record writes its fields through an engine set up as a snippet, unformatted, with the
// thread's Compress and ZeroSuppress switches; nothing else of the engine is used and
// nobody else sees it. This writes the same bytes (the element writer is the engine's
// own) without an engine's state to build and tear down for every record.
//
//   SnippetWriter out(switches.XMLCompress, switches.XMLZeroSuppress);
//   out.open(u"Price");
//   out.add(u"Location", Location_);
//   return std::move(out).finish();
//
// A record nested in a parent's document writes at the end of the parent's text instead
// (SnippetWriter(parent_text, ...)), so its bytes are never copied from a text of its own.
#pragma once

#include <array>
#include <string>
#include <string_view>

#include "vexqom/currency.h"
#include "vexqom/text.h"

namespace vexqom {

class SnippetWriter {
 public:
  // ZeroSuppress turns Compress on, as the engine's switch does. room: the bytes taken at
  // once, enough for the usual text.
  SnippetWriter(bool compress, bool zero_suppress, size_t room = 512);
  // Writes at the end of target, which must outlive the writer; end() closes the groups.
  SnippetWriter(std::string& target, bool compress, bool zero_suppress);
  SnippetWriter(const SnippetWriter&) = delete;
  SnippetWriter& operator=(const SnippetWriter&) = delete;

  // Add(name, "", true): a group's start tag. The name must stay valid until the group
  // is closed (records and collections pass literals); groups nest at most kDepth deep.
  void open(TextView name);
  void add(TextView name, TextView value);  // Add(name, value)
  // Add(name, amount's text), without writing the text of a zero amount that ZeroSuppress
  // leaves out anyway ("0" is a zero number).
  void add(TextView name, Currency amount);
  // Names given as literals, their length known when compiling (a char16_t literal's
  // length is otherwise counted on every call).
  template <size_t N>
  void add(const char16_t (&name)[N], TextView value) {
    add(TextView(name, N - 1), value);
  }
  template <size_t N>
  void add(const char16_t (&name)[N], Currency amount) {
    add(TextView(name, N - 1), amount);
  }
  void add_xml(std::string_view bytes);     // AddXML of code-page bytes
  void close();                             // EndGroup: nothing when no group is open
  void end();                               // every open group closed
  std::string finish() &&;                  // the text, open groups closed (own text only)
  // The text written so far: the writer's own, or the target it writes into.
  std::string& text() { return *out_; }

 private:
  static constexpr size_t kDepth = 8;
  std::string own_;
  std::string* out_ = &own_;
  std::array<TextView, kDepth> groups_;  // the names of the open groups
  size_t depth_ = 0;
  bool compress_;
  bool zero_suppress_;
};

// The XML a writer of code-page bytes appends (write(std::string&)), as Text of its own:
// a record's or collection's get_XML. room: the bytes taken at once.
template <class Write>
Text written_text(size_t room, Write&& write) {
  std::string bytes;
  bytes.reserve(room);
  write(bytes);
  return from_code_page(bytes);
}

}  // namespace vexqom
