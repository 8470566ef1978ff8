#include "vexqom/typelib.h"

#include <cstdio>
#include <sstream>

#include "frame/class_info.h"
#include "frame/registry.h"

namespace vexqom {
namespace {

std::string quoted(std::string_view s) {
  std::string out = "\"";
  for (char c : s) {
    switch (c) {
      case '"': out += "\\\""; break;
      case '\\': out += "\\\\"; break;
      case '\n': out += "\\n"; break;
      case '\r': out += "\\r"; break;
      case '\t': out += "\\t"; break;
      default:
        if (static_cast<unsigned char>(c) < 0x20) {
          char buf[8];
          std::snprintf(buf, sizeof buf, "\\u%04x", c);
          out += buf;
        } else {
          out += c;
        }
    }
  }
  return out + "\"";
}

std::string hex_dispid(int32_t dispid) {
  char buf[16];
  std::snprintf(buf, sizeof buf, "0x%08X", static_cast<uint32_t>(dispid));
  return buf;
}

std::string default_json(const Variant& v) {
  switch (v.type()) {
    case VarType::kEmpty: return "null";
    case VarType::kBoolean: return v.boolean() ? "true" : "false";
    case VarType::kText: return quoted(to_utf8(v.text()));
    default: return quoted(to_utf8(to_text(v)));
  }
}

void write_params(std::ostringstream& out, const AccessorSpec& accessor) {
  out << "[";
  for (size_t i = 0; i < accessor.params.size(); ++i) {
    const ParamSpec& p = accessor.params[i];
    if (i) out << ", ";
    out << "{\"name\": " << quoted(p.name) << ", \"type\": " << quoted(p.type.name)
        << ", \"by_ref\": " << (p.by_ref ? "true" : "false")
        << ", \"optional\": " << (p.optional ? "true" : "false");
    if (p.optional) out << ", \"default\": " << default_json(p.default_value);
    out << "}";
  }
  out << "]";
}

void write_interface(std::ostringstream& out, const ClassInfo& info) {
  out << "    {\"name\": " << quoted(info.interface_name) << ", \"iid\": "
      << quoted(info.iid.to_string()) << ", \"earlier_iids\": [";
  if (info.earlier_iid) out << quoted(info.earlier_iid->to_string());
  out << "], \"dual\": true, \"hidden\": true, \"members\": [\n";
  int slot = 0;
  bool first = true;
  for (const MemberSpec& m : info.members) {
    for (const AccessorSpec& a : m.accessors) {
      if (!first) out << ",\n";
      first = false;
      out << "      {\"slot\": " << slot++ << ", \"name\": " << quoted(m.name)
          << ", \"accessor\": " << quoted(access_name(a.kind)) << ", \"dispid\": " << m.dispid
          << ", \"dispid_hex\": " << quoted(hex_dispid(m.dispid))
          << ", \"hidden\": " << (m.hidden ? "true" : "false") << ", \"params\": ";
      write_params(out, a);
      out << ", \"result\": " << quoted(a.result.name) << "}";
    }
  }
  out << "\n    ]}";
}

}  // namespace

std::string type_library_json() {
  std::ostringstream out;
  out << "{\n  \"library\": {\"name\": " << quoted(kLibraryName)
      << ", \"id\": " << quoted(ids::kLibrary.to_string()) << "},\n  \"classes\": [\n";
  auto classes = library_classes();
  for (size_t i = 0; i < classes.size(); ++i) {
    const ClassInfo& c = *classes[i];
    out << "    {\"name\": " << quoted(c.name) << ", \"creation_name\": "
        << quoted(std::string(kLibraryName) + "." + c.name) << ", \"clsid\": "
        << quoted(c.clsid.to_string()) << ", \"interface\": " << quoted(c.interface_name)
        << ", \"events\": " << (c.events ? quoted(c.events->interface_name) : "null") << "}"
        << (i + 1 < classes.size() ? ",\n" : "\n");
  }
  out << "  ],\n  \"interfaces\": [\n";
  for (size_t i = 0; i < classes.size(); ++i) {
    write_interface(out, *classes[i]);
    out << (i + 1 < classes.size() ? ",\n" : "\n");
  }
  out << "  ],\n  \"event_interfaces\": [\n";
  bool first = true;
  for (const ClassInfo* c : classes) {
    if (!c->events) continue;
    const EventSpec& e = *c->events;
    if (!first) out << ",\n";
    first = false;
    out << "    {\"name\": " << quoted(e.interface_name) << ", \"iid\": "
        << quoted(e.iid.to_string()) << ", \"earlier_iids\": [";
    if (e.earlier_iid) out << quoted(e.earlier_iid->to_string());
    out << "], \"dispatch_only\": true, \"hidden\": true, \"source\": " << quoted(c->name)
        << ", \"members\": [{\"name\": " << quoted(e.member) << ", \"dispid\": " << e.dispid
        << ", \"params\": [], \"result\": \"none\"}]}";
  }
  out << "\n  ],\n  \"enumerations\": [\n    {\"name\": \"vexCatalogItemType\", \"id\": "
      << quoted(ids::kEnumVexCatalogItemType.to_string())
      << ", \"values\": [{\"name\": \"vcit_Part\", \"value\": 0}, "
         "{\"name\": \"vcit_Labor\", \"value\": 1}, {\"name\": \"vcit_Comment\", \"value\": 2}]}\n"
         "  ]\n}\n";
  return out.str();
}

}  // namespace vexqom
