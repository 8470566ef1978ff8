// The enumerator object behind NewEnum: yields a collection's members in order.
#pragma once

#include <vector>

#include "vexqom/api.h"
#include "vexqom/object.h"
#include "vexqom/variant.h"

namespace vexqom {

class VEXQOM_API Enumerator : public Object {
 public:
  static constexpr const char* kTypeName = "enumerator";

  explicit Enumerator(std::vector<Variant> members) : members_(std::move(members)) {}
  const ClassInfo& class_info() const override;

  // The next member; false at the end.
  bool Next(Variant* out);
  void Reset() { next_ = 0; }

 private:
  std::vector<Variant> members_;  // taken when the enumerator was made
  size_t next_ = 0;
};

}  // namespace vexqom
