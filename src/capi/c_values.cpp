#include "capi/c_values.h"

#include <new>

#include "frame/memory.h"
#include "frame/rounding.h"
#include "frame/utf8.h"
#include "vexqom/error.h"

namespace vexqom::capi {

Variant to_variant(const vq_value& value) {
  switch (value.kind) {
    case VQ_EMPTY: return Variant();
    case VQ_NULL: return Variant::null();
    case VQ_INTEGER: return Variant(narrowed<int16_t>(value.i));
    case VQ_LONG: return Variant(narrowed<int32_t>(value.i));
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
  *out = vq_value{};  // empty should the text's memory fail
  auto integral = [out](int32_t kind, int64_t i) {
    out->kind = kind;
    out->i = i;
  };
  switch (variant.type()) {
    case VarType::kNull: out->kind = VQ_NULL; break;
    case VarType::kInteger: integral(VQ_INTEGER, variant.integer()); break;
    case VarType::kLong: integral(VQ_LONG, variant.long_value()); break;
    case VarType::kCurrency: integral(VQ_CURRENCY, variant.currency().raw()); break;
    case VarType::kBoolean: integral(VQ_BOOLEAN, variant.boolean() ? -1 : 0); break;
    case VarType::kDouble:
      out->kind = VQ_DOUBLE;
      out->d = variant.dbl();
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
    case VarType::kObject:
      out->kind = VQ_OBJECT;
      out->obj = to_handle(Ref<Object>(variant.object()).detach());
      break;
    default: break;  // VQ_EMPTY
  }
}

}  // namespace vexqom::capi
