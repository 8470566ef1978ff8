#include "capi/c_values.h"

#include <cstdlib>
#include <limits>
#include <new>

#include "frame/memory.h"
#include "frame/utf8.h"
#include "vexqom/error.h"

namespace vexqom::capi {

Variant to_variant(const vq_value& value) {
  switch (value.kind) {
    case VQ_EMPTY: return Variant();
    case VQ_NULL: return Variant::null();
    case VQ_INTEGER:
      if (value.i < std::numeric_limits<int16_t>::min() ||
          value.i > std::numeric_limits<int16_t>::max()) {
        throw Error(errc::kOverflow);
      }
      return Variant(static_cast<int16_t>(value.i));
    case VQ_LONG:
      if (value.i < std::numeric_limits<int32_t>::min() ||
          value.i > std::numeric_limits<int32_t>::max()) {
        throw Error(errc::kOverflow);
      }
      return Variant(static_cast<int32_t>(value.i));
    case VQ_DOUBLE: return Variant(value.d);
    case VQ_CURRENCY: return Variant(Currency::from_raw(value.i));
    case VQ_BOOLEAN: return Variant(value.i != 0);
    case VQ_TEXT:
      if (value.text == nullptr) return Variant(Text());
      return Variant(from_utf8(std::string_view(value.text, value.text_len)));
    case VQ_OBJECT: return Variant(Ref<Object>(from_handle(value.obj)));
    default: throw Error(errc::kTypeMismatch);
  }
}

void fill_value(const Variant& variant, vq_value* out) {
  *out = vq_value{};
  switch (variant.type()) {
    case VarType::kEmpty: out->kind = VQ_EMPTY; break;
    case VarType::kNull: out->kind = VQ_NULL; break;
    case VarType::kInteger:
      out->kind = VQ_INTEGER;
      out->i = variant.integer();
      break;
    case VarType::kLong:
      out->kind = VQ_LONG;
      out->i = variant.long_value();
      break;
    case VarType::kDouble:
      out->kind = VQ_DOUBLE;
      out->d = variant.dbl();
      break;
    case VarType::kCurrency:
      out->kind = VQ_CURRENCY;
      out->i = variant.currency().raw();
      break;
    case VarType::kBoolean:
      out->kind = VQ_BOOLEAN;
      out->i = variant.boolean() ? -1 : 0;
      break;
    case VarType::kText: {
      const TextView text = variant.text();
      const size_t size = utf8_size(text);
      char* utf8 = static_cast<char*>(memory::allocate(size + 1));
      if (utf8 == nullptr) throw std::bad_alloc();
      write_utf8(text, utf8)[0] = '\0';
      out->kind = VQ_TEXT;
      out->text = utf8;
      out->text_len = size;
      break;
    }
    case VarType::kObject: {
      Ref<Object> object = variant.object();
      out->kind = VQ_OBJECT;
      out->obj = to_handle(object.detach());
      break;
    }
    default: out->kind = VQ_EMPTY; break;
  }
}

}  // namespace vexqom::capi
