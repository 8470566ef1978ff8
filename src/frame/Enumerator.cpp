#include "vexqom/Enumerator.h"

#include "frame/class_info.h"

namespace vexqom {

const ClassInfo& Enumerator::class_info() const { return private_class_info("enumerator"); }

bool Enumerator::Next(Variant* out) {
  if (next_ >= members_.size()) return false;
  *out = members_[next_++];
  return true;
}

}  // namespace vexqom
