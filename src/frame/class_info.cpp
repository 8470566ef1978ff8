#include "frame/class_info.h"

#include <cstdio>
#include <cstdlib>
#include <mutex>

namespace vexqom {

namespace {

std::string ascii_upper(std::string_view s) {
  std::string out(s);
  for (char& c : out) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  }
  return out;
}

}  // namespace

const char* access_name(Access a) {
  switch (a) {
    case Access::Method: return "method";
    case Access::Get: return "get";
    case Access::Let: return "let";
    case Access::Set: return "set";
  }
  return "method";
}

const AccessorSpec* MemberSpec::accessor(Access kind) const {
  for (const AccessorSpec& a : accessors) {
    if (a.kind == kind) return &a;
  }
  return nullptr;
}

void ClassInfo::index() {
  by_dispid_.clear();
  by_name_.clear();
  for (size_t i = 0; i < members.size(); ++i) {
    by_dispid_.emplace(members[i].dispid, i);
    by_name_.emplace(ascii_upper(members[i].name), i);
  }
  // Dispatch clients ask for the enumerator under its conventional hidden name too.
  if (auto it = by_dispid_.find(kDispidNewEnum); it != by_dispid_.end()) {
    by_name_.emplace("_NEWENUM", it->second);
  }
}

const MemberSpec* ClassInfo::find(int32_t dispid) const {
  auto it = by_dispid_.find(dispid);
  return it == by_dispid_.end() ? nullptr : &members[it->second];
}

const MemberSpec* ClassInfo::find(std::string_view member_name) const {
  auto it = by_name_.find(ascii_upper(member_name));
  return it == by_name_.end() ? nullptr : &members[it->second];
}

int ClassInfo::slot_of(const MemberSpec& member, const AccessorSpec& accessor) const {
  int slot = 0;
  for (const MemberSpec& m : members) {
    for (const AccessorSpec& a : m.accessors) {
      if (&m == &member && &a == &accessor) return slot;
      ++slot;
    }
  }
  return -1;
}

const ClassInfo& private_class_info(const char* name) {
  // One table per private class name; private classes expose no members.
  static std::mutex guard;
  static std::unordered_map<std::string, std::unique_ptr<ClassInfo>> tables;
  std::lock_guard<std::mutex> lock(guard);
  auto& slot = tables[name];
  if (!slot) {
    slot = std::make_unique<ClassInfo>();
    slot->name = name;
    slot->index();
  }
  return *slot;
}

namespace detail {

AccessorSpec make_accessor(Access kind, std::vector<TypeRef> types,
                           std::vector<bool> read_only, TypeRef result,
                           std::initializer_list<ParamName> names, Invoker invoke) {
  AccessorSpec spec;
  spec.kind = kind;
  spec.result = result;
  spec.invoke = invoke;
  if (names.size() != types.size()) {
    std::fprintf(stderr, "vexqom: member table lists %zu parameter names for %zu parameters\n",
                 names.size(), types.size());
    std::abort();  // a table that disagrees with its C++ member is a build-time mistake
  }
  size_t i = 0;
  for (const ParamName& n : names) {
    ParamSpec p;
    p.name = n.name;
    p.type = types[i];
    p.read_only = read_only[i++];
    p.by_ref = n.is_by_ref;
    p.optional = n.is_optional;
    p.default_value = n.default_value;
    spec.params.push_back(std::move(p));
  }
  return spec;
}

}  // namespace detail

std::string Guid::to_string() const {
  char buf[40];
  std::snprintf(buf, sizeof buf, "{%08X-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X}", data1,
                data2, data3, data4[0], data4[1], data4[2], data4[3], data4[4], data4[5],
                data4[6], data4[7]);
  return buf;
}

bool Guid::parse(std::string_view text, Guid* out) {
  if (text.size() == 38 && text.front() == '{' && text.back() == '}') {
    text = text.substr(1, 36);
  }
  if (text.size() != 36 || text[8] != '-' || text[13] != '-' || text[18] != '-' ||
      text[23] != '-') {
    return false;
  }
  auto hex = [&](size_t pos, size_t len, uint64_t* v) {
    *v = 0;
    for (size_t i = pos; i < pos + len; ++i) {
      char c = text[i];
      int d = (c >= '0' && c <= '9')   ? c - '0'
              : (c >= 'a' && c <= 'f') ? c - 'a' + 10
              : (c >= 'A' && c <= 'F') ? c - 'A' + 10
                                       : -1;
      if (d < 0) return false;
      *v = *v * 16 + static_cast<uint64_t>(d);
    }
    return true;
  };
  Guid g;
  uint64_t v;
  if (!hex(0, 8, &v)) return false;
  g.data1 = static_cast<uint32_t>(v);
  if (!hex(9, 4, &v)) return false;
  g.data2 = static_cast<uint16_t>(v);
  if (!hex(14, 4, &v)) return false;
  g.data3 = static_cast<uint16_t>(v);
  const size_t byte_pos[8] = {19, 21, 24, 26, 28, 30, 32, 34};
  for (int i = 0; i < 8; ++i) {
    if (!hex(byte_pos[i], 2, &v)) return false;
    g.data4[i] = static_cast<uint8_t>(v);
  }
  *out = g;
  return true;
}

}  // namespace vexqom
