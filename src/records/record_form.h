// A record's XML form as one table: the root element and one row per field (element
// name, member, statement numbers). The table drives the writer, the reader, clearing
// and the set of names the reader expects; every record takes this one path.
//
//   template <>
//   const RecordForm<ICatList>& XmlForm<ICatList>::form() {
//     static const RecordForm<ICatList> f{{.root = u"ICatList", ...},
//                                         {{u"ListID", &ICatList::ID_, 4, 4}, ...}};
//     return f;
//   }
//
// A field is written as its member's text form and read back by the member's type:
// Text as it is; Integer, Long and item kinds by the leading-number parse rounded halves
// to even (error 6 out of range); Currency to four decimals likewise; Booleans as "True";
// Variants as their text form, read back as text. An item's price collection is written
// whole in its place and read from the first "Prices" block.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "frame/diagnostics.h"
#include "frame/document_observer.h"
#include "frame/procedure.h"
#include "vexqom/ICatItem.h"
#include "vexqom/ICatPriceCol.h"
#include "vexqom/currency.h"
#include "vexqom/object.h"
#include "vexqom/variant.h"
#include "xml/element_writer.h"
#include "xml/search_cache.h"
#include "xml/tag_reader.h"
#include "records/xml_form.h"
#include "collections/collection_form.h"

namespace vexqom {

// The member a field stands for.
template <class R>
using FieldMember = std::variant<Text R::*, int16_t R::*, int32_t R::*, vexCatalogItemType R::*,
                                 bool R::*, Currency R::*, Variant R::*, Ref<ICatPriceCol> R::*>;

template <class R>
struct Field {
  TextView name;  // the element written (and read)
  FieldMember<R> member;
  int write_line;  // the writer's and the reader's statement numbers
  int read_line;
  TextView read_name = {};  // the element read instead, when it differs
  TextView element_read() const { return read_name.empty() ? name : read_name; }
};

template <class R>
struct RecordForm {
  struct Layout {
    TextView root;
    TextView write_label;  // the procedures' labels ("ICatPrice | Get XML")
    TextView read_label;
    Trace trace = Trace::No;
    bool thread_switches = true;  // Compress and ZeroSuppress: the thread's, or both on
    bool declaration = false;     // a whole document, declaration line first
    const char* observed_as = nullptr;  // the form's name for the document observer
    int open_line = 3;
    int close_line = 0;
    void (*clear)(R&) = nullptr;  // the reader's first step
  };

  RecordForm(Layout how, std::vector<Field<R>> rows)
      : layout(how), fields(std::move(rows)), names(read_names(fields)) {}

  Layout layout;
  std::vector<Field<R>> fields;
  ElementNames names;  // what the reader asks for by value

 private:
  static std::vector<TextView> read_names(const std::vector<Field<R>>& fields) {
    std::vector<TextView> out;
    for (const Field<R>& f : fields) {
      if (!std::holds_alternative<Ref<ICatPriceCol> R::*>(f.member)) out.push_back(f.element_read());
    }
    return out;
  }
};

// ---- implementation ----

namespace record_form_detail {

inline void write_value(ElementWriter& out, TextView name, const Text& v) { out.add(name, v); }
inline void write_value(ElementWriter& out, TextView name, int16_t v) {
  out.add(name, integer_text(v));
}
inline void write_value(ElementWriter& out, TextView name, int32_t v) {
  out.add(name, integer_text(v));
}
inline void write_value(ElementWriter& out, TextView name, vexCatalogItemType v) {
  out.add(name, integer_text(static_cast<int32_t>(v)));
}
inline void write_value(ElementWriter& out, TextView name, bool v) {
  out.add(name, boolean_text(v));
}
inline void write_value(ElementWriter& out, TextView name, Currency v) { out.add(name, v); }
inline void write_value(ElementWriter& out, TextView name, const Variant& v) {
  out.add(name, to_text(v));
}
inline void write_value(ElementWriter& out, TextView, const Ref<ICatPriceCol>& prices) {
  // Appended whatever it holds, so "Prices" is always there; written in place.
  if (!prices) throw Error(errc::kObjectNotSet);
  XmlForm<ICatPriceCol>::write(*prices, out.text());
}

inline void read_value(Text& field, Text v) { field = std::move(v); }
inline void read_value(int16_t& field, const Text& v) {
  field = round_to_integer(leading_number(v));
}
inline void read_value(int32_t& field, const Text& v) { field = round_to_long(leading_number(v)); }
inline void read_value(vexCatalogItemType& field, const Text& v) {
  field = static_cast<vexCatalogItemType>(round_to_long(leading_number(v)));
}
inline void read_value(bool& field, const Text& v) { field = upper_case(v) == u"TRUE"; }
inline void read_value(Currency& field, const Text& v) {
  // Amounts are read with the leading-number parse, so "1,5" stops at the comma.
  field = Currency::from_double(leading_number(v));
}
inline void read_value(Variant& field, Text v) { field = Variant(std::move(v)); }

template <class T>
void clear_value(T& field) {
  field = T();
}
inline void clear_value(Text& field) { field.clear(); }
// Empty text, not the empty Variant: readers see the same kind as after an XML load.
inline void clear_value(Variant& field) { field = Variant(Text()); }

}  // namespace record_form_detail

// Every field to its empty value.
template <class R>
void clear_fields(R& record, const RecordForm<R>& form) {
  using namespace record_form_detail;
  for (const Field<R>& field : form.fields) {
    std::visit([&](auto member) { clear_value(record.*member); }, field.member);
  }
}

template <class R>
void write_form(R& record, const RecordForm<R>& f, ErrorState& errors, std::string& out) {
  using namespace record_form_detail;
  run_procedure(errors, f.layout.write_label, f.layout.trace, [&](int& line) {
    line = 1;
    const diag::ThreadState& switches = diag::thread_state();
    const bool compress = !f.layout.thread_switches || switches.XMLCompress;
    const bool zero_suppress = !f.layout.thread_switches || switches.XMLZeroSuppress;
    const size_t from = out.size();
    if (f.layout.declaration) out += "<?xml version=\"1.0\" encoding=\"UTF-8\" ?>";
    ElementWriter writer(out, compress, zero_suppress);
    line = f.layout.open_line;
    writer.open(f.layout.root);
    for (const Field<R>& field : f.fields) {
      line = field.write_line;
      std::visit([&](auto member) { write_value(writer, field.name, record.*member); },
                 field.member);
    }
    line = f.layout.close_line;
    writer.close();
    if (f.layout.observed_as != nullptr) observe_bytes(f.layout.observed_as, std::string_view(out).substr(from));
  });
}

template <class R, class Xml>
void read_form(R& record, const RecordForm<R>& f, ErrorState& errors, const Xml& xml) {
  using namespace record_form_detail;
  run_procedure(errors, f.layout.read_label, f.layout.trace, [&](int& line) {
    line = 1;
    f.layout.clear(record);
    line = 2;
    if (xml.empty()) return;
    line = 3;
    std::string storage;
    TagReader reader(reader_bytes(xml, storage), &f.names);
    size_t expected = 0;  // the field's index in f.names
    for (const Field<R>& field : f.fields) {
      line = field.read_line;
      if (const auto* prices = std::get_if<Ref<ICatPriceCol> R::*>(&field.member)) {
        // The whole element, tags included; none gives the empty text, an empty list.
        if (!(record.**prices)) throw Error(errc::kObjectNotSet);
        XmlForm<ICatPriceCol>::read(*(record.**prices), reader.block(field.name, 1));
        continue;
      }
      std::visit(
          [&](auto member) {
            if constexpr (!std::is_same_v<decltype(member), Ref<ICatPriceCol> R::*>) {
              read_value(record.*member, read_first_value(reader, expected++));
            }
          },
          field.member);
    }
  });
}

}  // namespace vexqom
