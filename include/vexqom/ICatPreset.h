// ICatPreset: a pre-selected catalog lookup path (category, group, description).
#pragma once

#include "vexqom/api.h"
#include "vexqom/error.h"
#include "vexqom/object.h"
#include "vexqom/text.h"

namespace vexqom {

class VEXQOM_API ICatPreset : public Object {
 public:
  static constexpr const char* kTypeName = "ICatPreset";
  static const ClassInfo& static_class_info();
  const ClassInfo& class_info() const override { return static_class_info(); }

  // The "ICatPreset" element; reading and writing report under "ICatPreset | XML".
  Text get_XML();
  void put_XML(const Text& xsVal);

  void put_Category(const Text& xsVal) { Category_ = xsVal; }
  Text get_Category() const { return Category_; }
  void put_Group(const Text& xsVal) { Group_ = xsVal; }
  Text get_Group() const { return Group_; }
  void put_Description(const Text& xsVal) { Description_ = xsVal; }
  Text get_Description() const { return Description_; }
  void Clear();

  const ErrorState& last_error() const { return errors_; }

 private:
  friend class XmlForm<ICatPreset>;

  Text Category_, Group_, Description_;
  ErrorState errors_;
};

}  // namespace vexqom
