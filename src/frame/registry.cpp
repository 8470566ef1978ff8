#include "frame/registry.h"

#include "vexqom/dispatch.h"

namespace vexqom {

namespace {

bool equals_ascii_caseless(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    char x = a[i], y = b[i];
    if (x >= 'a' && x <= 'z') x = static_cast<char>(x - 32);
    if (y >= 'a' && y <= 'z') y = static_cast<char>(y - 32);
    if (x != y) return false;
  }
  return true;
}

}  // namespace

const ClassInfo* find_class_by_creation_name(std::string_view creation_name) {
  if (creation_name.size() <= kLibraryName.size() + 1 ||
      !equals_ascii_caseless(creation_name.substr(0, kLibraryName.size()), kLibraryName) ||
      creation_name[kLibraryName.size()] != '.') {
    return nullptr;
  }
  std::string_view class_name = creation_name.substr(kLibraryName.size() + 1);
  for (const ClassInfo* info : library_classes()) {
    if (info->creatable && equals_ascii_caseless(info->name, class_name)) return info;
  }
  return nullptr;
}

const ClassInfo* find_class_by_clsid(const Guid& clsid) {
  for (const ClassInfo* info : library_classes()) {
    if (info->creatable && info->clsid == clsid) return info;
  }
  return nullptr;
}

Ref<Object> create_object(std::string_view creation_name) {
  const ClassInfo* info = find_class_by_creation_name(creation_name);
  if (info == nullptr) throw Error(errc::kClassNotRegistered);
  return info->factory();
}

Ref<Object> create_object(const Guid& clsid) {
  const ClassInfo* info = find_class_by_clsid(clsid);
  if (info == nullptr) throw Error(errc::kClassNotRegistered);
  return info->factory();
}

bool query_interface(const Object& object, const Guid& iid) {
  const ClassInfo& info = object.class_info();
  return iid == ids::kIidUnknown || iid == ids::kIidDispatch ||
         (info.interface_name.size() > 0 && iid == info.iid) ||
         (info.earlier_iid && iid == *info.earlier_iid);
}

}  // namespace vexqom
