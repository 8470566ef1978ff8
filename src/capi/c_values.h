// Conversions between the C interface's vq_value and Variant.
#pragma once

#include "vexqom.h"
#include "vexqom/variant.h"

namespace vexqom::capi {

inline Object* from_handle(vq_object* handle) { return reinterpret_cast<Object*>(handle); }
inline vq_object* to_handle(Object* object) { return reinterpret_cast<vq_object*>(object); }

// Reads a caller's value (errors 6 and 13 for values no kind can hold).
Variant to_variant(const vq_value& value);
// Fills a value the caller will clear: texts are malloc'ed, objects hold one reference.
void fill_value(const Variant& variant, vq_value* out);

}  // namespace vexqom::capi
