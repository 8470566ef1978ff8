// The class registry: the library's public classes by creation name and identifier.
#pragma once

#include <span>
#include <string_view>

#include "frame/class_info.h"

namespace vexqom {

inline constexpr std::string_view kLibraryName = "vexqom_PLUMEK2";

// The public classes in type-library order (defined with the C interface, which sees
// every subsystem).
std::span<const ClassInfo* const> library_classes();

const ClassInfo* find_class_by_creation_name(std::string_view creation_name);
const ClassInfo* find_class_by_clsid(const Guid& clsid);

}  // namespace vexqom
