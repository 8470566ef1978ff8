// ICatList: a heading paired with a numeric identifier.
#pragma once

#include <cstdint>

#include "vexqom/api.h"
#include "vexqom/error.h"
#include "vexqom/object.h"
#include "vexqom/text.h"

namespace vexqom {

class VEXQOM_API ICatList : public Object {
 public:
  static constexpr const char* kTypeName = "ICatList";
  static const ClassInfo& static_class_info();
  const ClassInfo& class_info() const override { return static_class_info(); }

  // A whole document: the declaration line, then the "ICatList" element.
  Text get_XML();
  void put_XML(const Text& xsVal);

  void put_ID(int32_t vData) { ID_ = vData; }
  int32_t get_ID() const { return ID_; }
  void put_Heading(const Text& vData) { Heading_ = vData; }  // the default member
  Text get_Heading() const { return Heading_; }
  void Clear();

  const ErrorState& last_error() const { return errors_; }

 private:
  friend class XmlForm<ICatList>;

  int32_t ID_ = 0;
  Text Heading_;
  ErrorState errors_;
};

}  // namespace vexqom
