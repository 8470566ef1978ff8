// The dispatch layer: member lookup by name or identifier, argument coercion, calls.
#include "vexqom/dispatch.h"

#include "frame/class_info.h"
#include "frame/invoke_changes.h"

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

namespace {

// Whether the caller's argument already has the parameter's type, so that it can go to
// the member as it is.
bool fits_as_is(const Variant& argument, const TypeRef& type) {
  return type.vt == VarType::kVariant ||
         (type.vt != VarType::kObject && argument.type() == type.vt);
}

// The arguments as the member receives them. One the member cannot change and that
// already fits is lent: moved in from the caller, and moved back however the call ends,
// so a document of megabytes is never copied on its way to the member.
class PassedArguments {
 public:
  PassedArguments(const AccessorSpec& accessor, std::span<Variant> args)
      : params_(accessor.params), args_(args) {
    std::vector<const Variant*> bound = bind_arguments(accessor, args, source_index_);
    passed_.reserve(bound.size());
    lent_.assign(bound.size(), false);
    try {
      for (size_t i = 0; i < bound.size(); ++i) pass(i, *bound[i]);
      // Only a by-reference argument is written back, and only when it changed.
      before_.resize(passed_.size());
      for (size_t i = 0; i < passed_.size(); ++i) {
        if (params_[i].by_ref) before_[i] = passed_[i];
      }
    } catch (...) {
      give_back_lent();  // an argument that cannot be coerced leaves the others as they were
      throw;
    }
  }
  PassedArguments(const PassedArguments&) = delete;
  PassedArguments& operator=(const PassedArguments&) = delete;
  ~PassedArguments() { give_back_lent(); }

  Variant* data() { return passed_.data(); }

  // After a call that returned: the changed by-reference arguments go back to the caller.
  void write_back(std::vector<char>& changed) {
    changed.assign(args_.size(), 0);
    for (size_t i = 0; i < passed_.size(); ++i) {
      const int source = source_index_[i];
      if (params_[i].by_ref && source >= 0 && !(passed_[i] == before_[i])) {
        args_[static_cast<size_t>(source)] = passed_[i];
        changed[static_cast<size_t>(source)] = 1;
      }
    }
  }

 private:
  void pass(size_t i, const Variant& argument) {
    const ParamSpec& param = params_[i];
    if (source_index_[i] >= 0 && param.read_only && !param.by_ref &&
        fits_as_is(argument, param.type)) {
      passed_.push_back(std::move(args_[static_cast<size_t>(source_index_[i])]));
      lent_[i] = true;
    } else {
      passed_.push_back(coerce(argument, param.type));
    }
  }

  void give_back_lent() noexcept {
    for (size_t i = 0; i < passed_.size(); ++i) {
      if (lent_[i]) args_[static_cast<size_t>(source_index_[i])] = std::move(passed_[i]);
    }
  }

  const std::vector<ParamSpec>& params_;
  std::span<Variant> args_;
  std::vector<int> source_index_;
  std::vector<Variant> passed_;
  std::vector<bool> lent_;
  std::vector<Variant> before_;
};

}  // namespace

Variant invoke_reporting_changes(Object& object, int32_t dispid, int32_t flags,
                                 std::span<Variant> args, std::vector<char>& changed) {
  const MemberSpec* member = object.class_info().find(dispid);
  if (member == nullptr) throw Error(errc::kMemberNotFound);
  const AccessorSpec* accessor = choose_accessor(*member, flags);
  if (accessor == nullptr) throw Error(errc::kMemberNotFound);

  PassedArguments passed(*accessor, args);
  Ref<Object> keep_alive(&object);  // the member may drop the host's last reference
  Variant result = accessor->invoke(object, passed.data());
  passed.write_back(changed);
  return result;
}

Variant invoke(Object& object, int32_t dispid, int32_t flags, std::span<Variant> args) {
  std::vector<char> changed;
  return invoke_reporting_changes(object, dispid, flags, args, changed);
}

}  // namespace vexqom
