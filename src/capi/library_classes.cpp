// The library descriptor: its public classes, in type-library order.
#include "frame/registry.h"
#include "vexqom/ICatItem.h"
#include "vexqom/ICatItemCol.h"
#include "vexqom/ICatList.h"
#include "vexqom/ICatListCol.h"
#include "vexqom/ICatPreset.h"
#include "vexqom/ICatPresetCol.h"
#include "vexqom/ICatPrice.h"
#include "vexqom/ICatPriceCol.h"
#include "vexqom/ICatVehicle.h"

namespace vexqom {

std::span<const ClassInfo* const> library_classes() {
  static const ClassInfo* const classes[] = {
      &ICatItemCol::static_class_info(),
      &ICatItem::static_class_info(),
      &ICatPriceCol::static_class_info(),
      &ICatPrice::static_class_info(),
      &ICatVehicle::static_class_info(),
      &ICatPresetCol::static_class_info(),
      &ICatPreset::static_class_info(),
      &ICatListCol::static_class_info(),
      &ICatList::static_class_info(),
  };
  return classes;
}

}  // namespace vexqom
