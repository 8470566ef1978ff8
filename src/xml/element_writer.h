// ElementWriter: XML elements as the engine writes them, in code-page bytes:
// "<name>value</name>", the value escaped unless it is markup, empty values left out under
// Compress and zero numbers under ZeroSuppress. The engine's builder writes each element
// through Element; records and collections write their forms through ElementWriter,
// without an engine's state to build and tear down for every record.
//
//   ElementWriter out(text, compress, zero_suppress);
//   out.open(u"Price");
//   out.add(u"Location", location);
//   out.close();
#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>

#include "vexqom/currency.h"
#include "vexqom/text.h"

namespace vexqom {

// One element, or its start or end tag alone.
struct Element {
  enum Part { kWhole, kStart, kEnd };
  Element(TextView element_name, TextView element_value, bool escape = true,
          Part which = kWhole)
      : name(element_name), value(element_value), escaped(escape), part(which) {}

  TextView name;
  TextView value;
  bool escaped;  // the value's special characters as entities
  Part part;

  // The bytes write() writes.
  size_t size() const;
  // Writes size() bytes at out (size() asked first); returns the end.
  char* write(char* out) const;
  // Appends the element at the end of out.
  void append_to(std::string& out) const;

 private:
  mutable size_t entity_bytes_ = 0;  // what escaping adds, counted by size()
};

// Whether Add leaves a value out: empty under Compress, a zero number under ZeroSuppress.
bool value_left_out(TextView value, bool compress, bool zero_suppress);

class ElementWriter {
 public:
  // Writes at the end of out, which must outlive the writer. ZeroSuppress turns Compress
  // on, as the engine's switch does.
  ElementWriter(std::string& out, bool compress, bool zero_suppress)
      : out_(out), compress_(compress || zero_suppress), zero_suppress_(zero_suppress) {}
  ElementWriter(const ElementWriter&) = delete;
  ElementWriter& operator=(const ElementWriter&) = delete;

  // A group's start tag. The name must stay valid until the group is closed; groups nest
  // at most kDepth deep.
  void open(TextView name);
  void add(TextView name, TextView value);
  // A zero amount that ZeroSuppress leaves out is not written out as text first.
  void add(TextView name, Currency amount);
  void add_xml(std::string_view bytes) { out_ += bytes; }  // markup, as it is
  void close();  // the innermost group; nothing when none is open
  void end();    // every open group
  std::string& text() { return out_; }

 private:
  static constexpr size_t kDepth = 8;
  std::string& out_;
  std::array<TextView, kDepth> groups_;
  size_t depth_ = 0;
  bool compress_;
  bool zero_suppress_;
};

}  // namespace vexqom
