// The dispatch layer: member lookup by name or identifier, argument coercion, calls.
#include "vexqom/dispatch.h"

#include "frame/class_info.h"

namespace vexqom {

namespace {

// Coerces one argument to a parameter type the way a dispatch client expects.
Variant coerce(const Variant& in, const TypeRef& type) {
  if (type.vt == VarType::kVariant) return in;
  if (type.vt == VarType::kObject) {
    if (in.is_empty()) return Variant(Ref<Object>());
    if (!in.is_object()) throw Error(errc::kTypeMismatch);
    const Ref<Object>& o = in.object();
    if (o && type.accepts != nullptr && !type.accepts(o.get())) {
      throw Error(errc::kTypeMismatch);
    }
    return in;
  }
  if (in.is_null() || in.is_object()) throw Error(errc::kTypeMismatch);
  switch (type.vt) {
    case VarType::kText: return Variant(coerce_to_text(in));
    case VarType::kInteger: return Variant(coerce_to_integer(in));
    case VarType::kLong: return Variant(coerce_to_long(in));
    case VarType::kDouble: return Variant(coerce_to_double(in));
    case VarType::kCurrency: return Variant(coerce_to_currency(in));
    case VarType::kBoolean: return Variant(coerce_to_boolean(in));
    default: throw Error(errc::kTypeMismatch);
  }
}

const AccessorSpec* choose_accessor(const MemberSpec& member, int32_t flags) {
  if (flags & kInvokeLet) return member.accessor(Access::Let);
  if (flags & kInvokeSet) return member.accessor(Access::Set);
  // Dispatch clients send METHOD | GET for obj.Item(1): either accessor answers it.
  const AccessorSpec* get = (flags & kInvokeGet) ? member.accessor(Access::Get) : nullptr;
  if (get != nullptr) return get;
  return (flags & kInvokeMethod) ? member.accessor(Access::Method) : nullptr;
}

// Maps the caller's arguments onto the parameter list: for let and set the last
// argument is the value; left-out optional parameters take their defaults.
std::vector<const Variant*> bind_arguments(const AccessorSpec& accessor,
                                           std::span<Variant> args,
                                           std::vector<int>& source_index) {
  const auto& params = accessor.params;
  const bool has_value = accessor.kind == Access::Let || accessor.kind == Access::Set;
  if (args.size() > params.size()) throw Error(errc::kBadParamCount);
  if (has_value && args.empty()) throw Error(errc::kParamNotOptional);

  std::vector<const Variant*> bound(params.size(), nullptr);
  source_index.assign(params.size(), -1);
  const size_t leading = has_value ? args.size() - 1 : args.size();
  const size_t leading_params = has_value ? params.size() - 1 : params.size();
  for (size_t i = 0; i < leading; ++i) {
    bound[i] = &args[i];
    source_index[i] = static_cast<int>(i);
  }
  for (size_t i = leading; i < leading_params; ++i) {
    if (!params[i].optional) throw Error(errc::kParamNotOptional);
    bound[i] = &params[i].default_value;
  }
  if (has_value) {
    bound[params.size() - 1] = &args[args.size() - 1];
    source_index[params.size() - 1] = static_cast<int>(args.size() - 1);
  }
  return bound;
}

}  // namespace

int32_t get_ids_of_names(const Object& object, std::string_view member_name) {
  const MemberSpec* member = object.class_info().find(member_name);
  if (member == nullptr) throw Error(errc::kMemberNotFound);
  return member->dispid;
}

Variant invoke(Object& object, int32_t dispid, int32_t flags, std::span<Variant> args) {
  const MemberSpec* member = object.class_info().find(dispid);
  if (member == nullptr) throw Error(errc::kMemberNotFound);
  const AccessorSpec* accessor = choose_accessor(*member, flags);
  if (accessor == nullptr) throw Error(errc::kMemberNotFound);

  std::vector<int> source_index;
  std::vector<const Variant*> bound = bind_arguments(*accessor, args, source_index);
  std::vector<Variant> coerced;
  coerced.reserve(bound.size());
  for (size_t i = 0; i < bound.size(); ++i) {
    coerced.push_back(coerce(*bound[i], accessor->params[i].type));
  }
  const std::vector<Variant> before = coerced;

  Ref<Object> keep_alive(&object);  // the member may drop the host's last reference
  Variant result = accessor->invoke(object, coerced.data());

  // Write back only what a by-reference member actually changed.
  for (size_t i = 0; i < coerced.size(); ++i) {
    if (accessor->params[i].by_ref && source_index[i] >= 0 && !(coerced[i] == before[i])) {
      args[static_cast<size_t>(source_index[i])] = coerced[i];
    }
  }
  return result;
}

}  // namespace vexqom
