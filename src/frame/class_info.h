// Member tables: each class declares its members once (name, dispatch identifier,
// accessors in slot order, parameters, the C++ member it calls). The dispatch layer,
// name lookup, the C interface and the type library are all driven by these tables.
//
//   static const ClassInfo info = ClassBuilder<ICatVehicle>("ICatVehicle", ...)
//       .property("AAIA", P(8), {let<&ICatVehicle::put_AAIA>({"vData"}),
//                                get<&ICatVehicle::get_AAIA>()})
//       .method("Clear", M(10), method<&ICatVehicle::Clear>())
//       .build();
//
// Parameter and result types are taken from the C++ signature; the table adds names,
// by-reference marks and optional defaults.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <unordered_map>
#include <utility>
#include <vector>

#include "vexqom/error.h"
#include "vexqom/identifiers.h"
#include "vexqom/object.h"
#include "vexqom/variant.h"

namespace vexqom {

// Dispatch identifiers: properties 0x68030000 + n, methods 0x60030000 + n.
constexpr int32_t P(int n) { return 0x68030000 + n; }
constexpr int32_t M(int n) { return 0x60030000 + n; }
inline constexpr int32_t kDispidValue = 0;
inline constexpr int32_t kDispidNewEnum = -4;

// Accessor kinds, numbered as the C interface's invoke flags.
enum class Access : int32_t { Method = 1, Get = 2, Let = 4, Set = 8 };
const char* access_name(Access a);  // "method", "get", "let", "set"

// The type of a parameter or result.
struct TypeRef {
  VarType vt = VarType::kEmpty;  // Empty: no value (a member without result)
  const char* name = "none";    // type library name: "Text", "ICatVehicle", ...
  // For object types: whether an object is of the expected class.
  bool (*accepts)(const Object*) = nullptr;
};

struct ParamSpec {
  std::string name;
  TypeRef type;
  bool by_ref = false;
  bool optional = false;
  // The C++ member takes it by value or by const reference: it cannot change the
  // argument, so the caller's own value may be lent to it instead of copied.
  bool read_only = true;
  Variant default_value;  // for optional parameters
};

// Receives the arguments already coerced to the parameter types, all present.
using Invoker = Variant (*)(Object& self, Variant* args);

struct AccessorSpec {
  Access kind = Access::Method;
  std::vector<ParamSpec> params;  // for let/set the value is the last parameter
  TypeRef result;
  Invoker invoke = nullptr;
};

struct MemberSpec {
  std::string name;
  int32_t dispid = 0;
  bool hidden = false;
  std::vector<AccessorSpec> accessors;  // in slot order

  const AccessorSpec* accessor(Access kind) const;
};

struct EventSpec {
  std::string interface_name;  // "__ICatItemCol"
  Guid iid;
  std::optional<Guid> earlier_iid;
  std::string member;  // "CountChanged"
  int32_t dispid = 1;
};

struct ClassInfo {
  std::string name;            // "ICatVehicle"
  std::string interface_name;  // "_ICatVehicle"
  Guid clsid;
  Guid iid;
  std::optional<Guid> earlier_iid;
  bool creatable = false;
  Ref<Object> (*factory)() = nullptr;
  std::vector<MemberSpec> members;  // slot order
  std::optional<EventSpec> events;

  const MemberSpec* find(int32_t dispid) const;
  const MemberSpec* find(std::string_view member_name) const;  // caseless
  // Slot index of each accessor, counting from 0 after the seven dispatch slots.
  int slot_of(const MemberSpec& member, const AccessorSpec& accessor) const;

  // Builds the lookup indexes; called once by ClassBuilder::build.
  void index();

 private:
  std::unordered_map<int32_t, size_t> by_dispid_;
  std::unordered_map<std::string, size_t> by_name_;  // ASCII upper-cased names
};

// The table of a private class (no members, not creatable).
const ClassInfo& private_class_info(const char* name);

// ---------------------------------------------------------------------------
// Deriving types and invokers from C++ signatures.

struct ParamName {
  ParamName(const char* n) : name(n) {}  // NOLINT: names read naturally in the tables
  ParamName& by_ref() {
    is_by_ref = true;
    return *this;
  }
  ParamName& optional(Variant def = Variant()) {
    is_optional = true;
    default_value = std::move(def);
    return *this;
  }
  std::string name;
  bool is_by_ref = false;
  bool is_optional = false;
  Variant default_value;
};

enum class vexCatalogItemType : int32_t;  // defined with ICatItem

namespace detail {

template <class T>
struct is_ref : std::false_type {};
template <class T>
struct is_ref<Ref<T>> : std::true_type {
  using element = T;
};

template <class T>
constexpr TypeRef type_of() {
  using U = std::remove_cvref_t<T>;
  if constexpr (std::is_void_v<U>) {
    return TypeRef{VarType::kEmpty, "none", nullptr};
  } else if constexpr (std::is_same_v<U, Text>) {
    return TypeRef{VarType::kText, "Text", nullptr};
  } else if constexpr (std::is_same_v<U, int16_t>) {
    return TypeRef{VarType::kInteger, "Integer", nullptr};
  } else if constexpr (std::is_same_v<U, int32_t>) {
    return TypeRef{VarType::kLong, "Long", nullptr};
  } else if constexpr (std::is_same_v<U, vexCatalogItemType>) {
    return TypeRef{VarType::kLong, "vexCatalogItemType", nullptr};
  } else if constexpr (std::is_same_v<U, double>) {
    return TypeRef{VarType::kDouble, "Double", nullptr};
  } else if constexpr (std::is_same_v<U, Currency>) {
    return TypeRef{VarType::kCurrency, "Currency", nullptr};
  } else if constexpr (std::is_same_v<U, bool>) {
    return TypeRef{VarType::kBoolean, "Boolean", nullptr};
  } else if constexpr (std::is_same_v<U, Variant>) {
    return TypeRef{VarType::kVariant, "Variant", nullptr};
  } else if constexpr (std::is_same_v<U, Ref<Object>>) {
    return TypeRef{VarType::kObject, "Object", nullptr};
  } else if constexpr (is_ref<U>::value) {
    using E = typename is_ref<U>::element;
    return TypeRef{VarType::kObject, E::kTypeName,
                   [](const Object* o) { return dynamic_cast<const E*>(o) != nullptr; }};
  } else {
    static_assert(sizeof(U) == 0, "type without a dispatch mapping");
  }
}

template <class T>
decltype(auto) from_arg(Variant& v) {
  using U = std::remove_cvref_t<T>;
  if constexpr (std::is_same_v<U, Text>) {
    return (v.text());
  } else if constexpr (std::is_same_v<U, int16_t>) {
    return v.integer();
  } else if constexpr (std::is_same_v<U, int32_t>) {
    return v.long_value();
  } else if constexpr (std::is_same_v<U, vexCatalogItemType>) {
    return static_cast<vexCatalogItemType>(v.long_value());
  } else if constexpr (std::is_same_v<U, double>) {
    return v.dbl();
  } else if constexpr (std::is_same_v<U, Currency>) {
    return v.currency();
  } else if constexpr (std::is_same_v<U, bool>) {
    return v.boolean();
  } else if constexpr (std::is_same_v<U, Variant>) {
    return (v);
  } else if constexpr (is_ref<U>::value) {
    using E = typename is_ref<U>::element;
    return v.is_object() ? Ref<E>(static_cast<E*>(v.object().get())) : Ref<E>();
  }
}

template <class R>
Variant to_result(R&& r) {
  using U = std::remove_cvref_t<R>;
  if constexpr (std::is_same_v<U, vexCatalogItemType>) {
    return Variant(static_cast<int32_t>(r));
  } else {
    return Variant(std::forward<R>(r));
  }
}

template <class M>
struct method_traits;
template <class C, class R, class... A>
struct method_traits<R (C::*)(A...)> {
  using Class = C;
  using Result = R;
  using Args = std::tuple<A...>;
  static constexpr size_t arity = sizeof...(A);
};
template <class C, class R, class... A>
struct method_traits<R (C::*)(A...) const> : method_traits<R (C::*)(A...)> {};

template <auto Method, size_t... I>
Variant call(Object& self, Variant* args, std::index_sequence<I...>) {
  using Tr = method_traits<decltype(Method)>;
  auto& obj = static_cast<typename Tr::Class&>(self);
  if constexpr (std::is_void_v<typename Tr::Result>) {
    (obj.*Method)(from_arg<std::tuple_element_t<I, typename Tr::Args>>(args[I])...);
    return Variant();
  } else {
    return to_result((obj.*Method)(from_arg<std::tuple_element_t<I, typename Tr::Args>>(args[I])...));
  }
}

template <auto Method>
Variant invoke_thunk(Object& self, Variant* args) {
  using Tr = method_traits<decltype(Method)>;
  return call<Method>(self, args, std::make_index_sequence<Tr::arity>{});
}

template <class Args, size_t... I>
std::vector<TypeRef> arg_types(std::index_sequence<I...>) {
  return {type_of<std::tuple_element_t<I, Args>>()...};
}

template <class A>
constexpr bool reads_only() {
  return !std::is_lvalue_reference_v<A> || std::is_const_v<std::remove_reference_t<A>>;
}
template <class Args, size_t... I>
std::vector<bool> args_read_only(std::index_sequence<I...>) {
  return {reads_only<std::tuple_element_t<I, Args>>()...};
}

AccessorSpec make_accessor(Access kind, std::vector<TypeRef> types,
                           std::vector<bool> read_only, TypeRef result,
                           std::initializer_list<ParamName> names, Invoker invoke);

}  // namespace detail

// An accessor calling the C++ member Method; names list the parameters in order (for
// let and set the value parameter comes last).
template <auto Method>
AccessorSpec accessor(Access kind, std::initializer_list<ParamName> names = {}) {
  using Tr = detail::method_traits<decltype(Method)>;
  using Indexes = std::make_index_sequence<Tr::arity>;
  return detail::make_accessor(kind, detail::arg_types<typename Tr::Args>(Indexes{}),
                               detail::args_read_only<typename Tr::Args>(Indexes{}),
                               detail::type_of<typename Tr::Result>(), names,
                               &detail::invoke_thunk<Method>);
}
template <auto Method>
AccessorSpec get(std::initializer_list<ParamName> names = {}) {
  return accessor<Method>(Access::Get, names);
}
template <auto Method>
AccessorSpec let(std::initializer_list<ParamName> names) {
  return accessor<Method>(Access::Let, names);
}
template <auto Method>
AccessorSpec set(std::initializer_list<ParamName> names) {
  return accessor<Method>(Access::Set, names);
}
template <auto Method>
AccessorSpec method(std::initializer_list<ParamName> names = {}) {
  return accessor<Method>(Access::Method, names);
}

template <class C>
class ClassBuilder {
 public:
  ClassBuilder(std::string name, std::string interface_name, Guid clsid, Guid iid) {
    info_.name = std::move(name);
    info_.interface_name = std::move(interface_name);
    info_.clsid = clsid;
    info_.iid = iid;
  }
  ClassBuilder& earlier_iid(Guid g) {
    info_.earlier_iid = g;
    return *this;
  }
  ClassBuilder& creatable() {
    info_.creatable = true;
    info_.factory = [] { return Ref<Object>(create<C>()); };
    return *this;
  }
  ClassBuilder& events(EventSpec e) {
    info_.events = std::move(e);
    return *this;
  }
  ClassBuilder& property(std::string name, int32_t dispid,
                         std::initializer_list<AccessorSpec> accessors, bool hidden = false) {
    info_.members.push_back(MemberSpec{std::move(name), dispid, hidden, accessors});
    return *this;
  }
  ClassBuilder& function(std::string name, int32_t dispid, AccessorSpec accessor,
                         bool hidden = false) {
    info_.members.push_back(MemberSpec{std::move(name), dispid, hidden, {std::move(accessor)}});
    return *this;
  }
  ClassInfo build() {
    info_.index();
    return std::move(info_);
  }

 private:
  ClassInfo info_;
};

}  // namespace vexqom
