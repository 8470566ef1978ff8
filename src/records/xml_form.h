// XmlForm<T>: how the library writes and reads the XML form of each of its classes. Every
// record and collection names it its friend; the class's form is one table (a RecordForm
// or a CollectionForm) defined in the class's own source file, and the writer and reader
// driven by such tables are the same for every class of a kind.
#pragma once

#include <string>

#include "frame/code_page.h"
#include "vexqom/object.h"

namespace vexqom {

class ICatPriceCol;
class ICatItemCol;
class ICatPresetCol;
class ICatListCol;
class ICatPrice;
class ICatItem;
class ICatPreset;
class ICatList;
template <class R>
struct RecordForm;  // records/record_form.h
template <class C, class Member>
struct CollectionForm;  // collections/collection_form.h

template <class T>
struct FormOf {
  using type = RecordForm<T>;
};
template <class C, class Member>
struct CollectionOf {
  using type = CollectionForm<C, Member>;
};
template <> struct FormOf<ICatPriceCol> : CollectionOf<ICatPriceCol, ICatPrice> {};
template <> struct FormOf<ICatItemCol> : CollectionOf<ICatItemCol, ICatItem> {};
template <> struct FormOf<ICatPresetCol> : CollectionOf<ICatPresetCol, ICatPreset> {};
template <> struct FormOf<ICatListCol> : CollectionOf<ICatListCol, ICatList> {};

template <class T>
class XmlForm {
 public:
  using Form = typename FormOf<T>::type;
  static const Form& form();  // the class's table, in its own source file

  // Appends the form at the end of out: code-page bytes, or Text for a whole document.
  template <class Out>
  static void write(T& object, Out& out) {
    write_form(object, form(), object.errors_, out);
  }
  // xml: Text, or code-page bytes handed on by a parent's reader.
  template <class Xml>
  static void read(T& object, const Xml& xml) {
    read_form(object, form(), object.errors_, xml);
  }
};

// The object's XML form as Text of its own; room: the bytes taken at once.
template <class T>
Text xml_text(T& object, size_t room) {
  std::string bytes;
  bytes.reserve(room);
  XmlForm<T>::write(object, bytes);
  return from_code_page(bytes);
}

}  // namespace vexqom
