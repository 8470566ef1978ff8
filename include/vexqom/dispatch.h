// Late binding for C++ hosts: create by creation name, reach members by name or
// dispatch identifier, the same way the C interface and the Python module do.
#pragma once

#include "vexqom/api.h"

#include <cstdint>
#include <span>
#include <string_view>

#include "vexqom/identifiers.h"
#include "vexqom/object.h"
#include "vexqom/variant.h"

namespace vexqom {

// Invoke flags (the C interface's VQ_METHOD, VQ_GET, VQ_LET, VQ_SET).
inline constexpr int32_t kInvokeMethod = 1;
inline constexpr int32_t kInvokeGet = 2;
inline constexpr int32_t kInvokeLet = 4;
inline constexpr int32_t kInvokeSet = 8;

// A new object of a public class by creation name ("vexqom_PLUMEK2.ICatVehicle",
// caseless) or by class identifier. Unknown names raise -2147221164.
VEXQOM_API Ref<Object> create_object(std::string_view creation_name);
VEXQOM_API Ref<Object> create_object(const Guid& clsid);

// Whether the object answers the interface (its own, an earlier one, or the base ones).
VEXQOM_API bool query_interface(const Object& object, const Guid& iid);

// Member name -> dispatch identifier (caseless); unknown raises -2147352573.
VEXQOM_API int32_t get_ids_of_names(const Object& object, std::string_view member_name);

// Calls a member. Arguments come in the member table's parameter order, the value of a
// let or set last; optional ones may be left out. A by-reference argument that the
// member changed is written back into args. Errors raise vexqom::Error.
VEXQOM_API Variant invoke(Object& object, int32_t dispid, int32_t flags, std::span<Variant> args);

}  // namespace vexqom
