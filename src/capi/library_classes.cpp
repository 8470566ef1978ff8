// The library descriptor: its public classes, in type-library order.
#include "frame/registry.h"
#include "vexqom/ICatVehicle.h"

namespace vexqom {

std::span<const ClassInfo* const> library_classes() {
  static const ClassInfo* const classes[] = {
      &ICatVehicle::static_class_info(),
  };
  return classes;
}

}  // namespace vexqom
