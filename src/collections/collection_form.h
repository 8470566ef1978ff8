// A collection's XML form as one table, and the writer and reader every catalog
// collection shares.
//
// The form: the root element holding (items only) "XDocVersion", then "Count", then
// "Collection" with one element per member, then (items, presets, lists) the vehicle's
// element. The reader trusts "Count": it reads exactly that many member elements by
// position, gives each to a new member, derives the member's key and adds it through the
// collection's own add operation; a key already present (457) drops that member.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "collections/load_budget.h"
#include "collections/members.h"
#include "frame/code_page.h"
#include "frame/diagnostics.h"
#include "frame/document_observer.h"
#include "frame/memory.h"
#include "frame/procedure.h"
#include "records/xml_form.h"
#include "vexqom/Collection.h"
#include "vexqom/ICatVehicle.h"
#include "vexqom/text.h"
#include "xml/element_writer.h"
#include "xml/tag_reader.h"

namespace vexqom {

struct CollectionLayout {
  TextView root;    // "Prices"
  TextView member;  // "Price"
  TextView write_label;
  TextView read_label;
  Trace trace = Trace::No;
  bool thread_switches = true;  // Compress and ZeroSuppress: the thread's, or both on
  const char* observed_as = nullptr;  // the form's name for the document observer
  // The statements that empty the collection before its text is read, and whether a
  // member's key is derived in a statement of its own: the reader's statement numbers
  // follow from them.
  int clear_statements = 1;
  bool key_statement = true;
};

template <class C, class Member>
struct CollectionForm {
  CollectionLayout layout;
  Collection& (*members)(C&);             // error 91 when the collection has none
  Ref<ICatVehicle>* (*vehicle)(C&);       // null for a collection without a vehicle
  Text* (*version)(C&);                   // null for a collection without "XDocVersion"
  void (*clear)(C&, int& line);           // the let's first statements
  Text (*key_of)(Member&);
  void (*add)(C&, const Ref<Member>&, const Text& key);
};

// The form of a collection of entries (presets, lists): fixed writer switches, traced, a
// new member list and a new vehicle before each load, members added through AddObject.
template <class C, class Member, Ref<Collection> C::*kMembers, Ref<ICatVehicle> C::*kVehicle>
CollectionForm<C, Member> entry_list_form(TextView root, TextView member, TextView write_label,
                                          TextView read_label, const char* observed_as,
                                          Text (*key_of)(Member&)) {
  return CollectionForm<C, Member>{
      {.root = root, .member = member, .write_label = write_label, .read_label = read_label,
       .trace = Trace::Yes, .thread_switches = false, .observed_as = observed_as,
       .clear_statements = 2},
      [](C& c) -> Collection& { return *(c.*kMembers); },
      [](C& c) { return &(c.*kVehicle); },
      nullptr,
      [](C& c, int& line) {
        c.*kMembers = create<Collection>();
        line = 2;
        c.*kVehicle = create<ICatVehicle>();  // the host's vehicle is let go, not refilled
      },
      key_of,
      [](C& c, const Ref<Member>& entry, const Text& key) { c.AddObject(entry, key); }};
}

// ---- implementation ----

namespace collection_form_detail {

inline void append_bytes(std::string& out, std::string_view bytes) { out += bytes; }
inline void append_bytes(Text& out, std::string_view bytes) { append_from_code_page(out, bytes); }

inline void observe(const char* form, const std::string& out, size_t from) {
  observe_bytes(form, std::string_view(out).substr(from));
}
inline void observe(const char* form, const Text& out, size_t from) {
  observe_document(form, TextView(out).substr(from));
}

// Each member written at the end of out: in place for bytes; for Text through one reused
// buffer and widened from there. Room for all of them is taken once, after the first.
template <class Member, class Out>
void append_members(Out& out, const Collection& members, std::string& bytes) {
  const size_t from = out.size();
  for (size_t i = 0; i < members.size(); ++i) {
    Member& member = member_record<Member>(members.at(i));
    if constexpr (std::is_same_v<Out, std::string>) {
      XmlForm<Member>::write(member, out);
    } else {
      bytes.clear();
      XmlForm<Member>::write(member, bytes);
      append_bytes(out, bytes);
    }
    if (i == 0 && members.size() > 1) {
      const size_t wanted = out.size() + memory::members_room(out.size() - from, members.size() - 1);
      if (wanted > out.capacity()) memory::reserve(out, wanted);
    }
  }
}

}  // namespace collection_form_detail

template <class C, class Member, class Out>
void write_form(C& collection, const CollectionForm<C, Member>& f, ErrorState& errors,
                Out& out) {
  using namespace collection_form_detail;
  run_procedure(errors, f.layout.write_label, f.layout.trace, [&](int& line) {
    line = 1;
    const Collection& members = f.members(collection);
    const diag::ThreadState& switches = diag::thread_state();
    const bool compress = !f.layout.thread_switches || switches.XMLCompress;
    const bool zero_suppress = !f.layout.thread_switches || switches.XMLZeroSuppress;
    const size_t from = out.size();
    // The elements around the members are written here and appended to out; the members
    // go straight into out (widened from here when out is Text).
    std::string bytes;
    bytes.reserve(std::is_same_v<Out, Text> ? memory::kItemRoom : memory::kCollectionRoom);
    line = 3;
    ElementWriter writer(bytes, compress, zero_suppress);
    line = 4;
    writer.open(f.layout.root);
    if (f.version != nullptr) {
      line = 5;
      writer.add(u"XDocVersion", *f.version(collection));
    }
    line = 6;
    const auto count = static_cast<int32_t>(members.size());
    writer.add(u"Count", integer_text(count));
    line = 7;
    if (count == 0) {
      writer.add(u"Collection", Text());
    } else {
      writer.add_xml("<Collection>");
      append_bytes(out, bytes);
      bytes.clear();
      line = 2;
      append_members<Member>(out, members, bytes);
      bytes.clear();
      writer.add_xml("</Collection>");
    }
    if (f.vehicle != nullptr) {
      line = 8;
      const Ref<ICatVehicle>& vehicle = *f.vehicle(collection);
      if (!vehicle) throw Error(errc::kObjectNotSet);
      XmlForm<ICatVehicle>::write(*vehicle, bytes);
    }
    line = 9;
    writer.close();
    append_bytes(out, bytes);
    if (f.layout.observed_as != nullptr) observe(f.layout.observed_as, out, from);
  });
}

template <class C, class Member, class Xml>
void read_form(C& collection, const CollectionForm<C, Member>& f, ErrorState& errors,
               const Xml& xml) {
  run_procedure(errors, f.layout.read_label, f.layout.trace, [&](int& line) {
    line = 1;
    f.clear(collection, line);
    line = f.layout.clear_statements + 1;
    if (xml.empty()) return;
    ++line;
    std::string storage;
    const std::string_view text = reader_bytes(xml, storage);
    LoadBudget budget;
    TagReader reader(text);
    ++line;
    const int16_t count = round_to_integer(leading_number(read_first_value(reader, u"Count")));
    if (f.version != nullptr) {
      ++line;
      *f.version(collection) = read_first_value(reader, u"XDocVersion");
    }
    if (count > 0) f.members(collection).reserve(static_cast<size_t>(count));
    const int first = line + 1;
    bool beyond_text = false;  // from the first member the text does not hold in its place
    for (int i = 1; i <= count; ++i) {
      const std::string_view block = reader.block(f.layout.member, static_cast<int16_t>(i));
      beyond_text = beyond_text || block.empty() || reader.started_over();
      line = first;
      LoadBudget::spend(beyond_text);
      auto member = create<Member>();
      line = first + 1;
      {
        const LoadBudget::Beyond inside(beyond_text);
        XmlForm<Member>::read(*member, block);
      }
      line = first + 2;
      const Text key = f.key_of(*member);
      if (f.layout.key_statement) line = first + 3;
      tolerate_duplicate_key([&] { f.add(collection, member, key); });
    }
    if (f.vehicle != nullptr) {
      line = first + (f.layout.key_statement ? 4 : 3);
      Ref<ICatVehicle>& vehicle = *f.vehicle(collection);
      if (!vehicle) throw Error(errc::kObjectNotSet);
      XmlForm<ICatVehicle>::read(*vehicle, reader.block(u"Vehicle", 1));
    }
  });
}

}  // namespace vexqom

// The members' own forms, which the writer and reader above hand each member to.
#include "records/record_form.h"  // IWYU pragma: export
