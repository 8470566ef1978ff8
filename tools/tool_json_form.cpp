#include "tool_json_form.h"

#include <libxml/parser.h>
#include <libxml/tree.h>
#include <libxml/xmlsave.h>

#include <cctype>
#include <memory>
#include <nlohmann/json.hpp>
#include <string_view>

#include "tool_input.h"

namespace vexqom::tool {
namespace {

using Json = nlohmann::ordered_json;

std::string_view name_of(const xmlNode* node) {
  return reinterpret_cast<const char*>(node->name);
}

bool holds_markup(const xmlNode* field) {
  for (const xmlNode* c = field->children; c != nullptr; c = c->next) {
    if (c->type != XML_TEXT_NODE) return true;
  }
  return false;
}

// A field's text. The library writes a text that begins with "<" and ends with ">" as
// markup: that comes out as the markup's text in libxml2's writing, with empty elements
// as "<i></i>", the way the library keeps them.
std::string field_value(xmlNode* field) {
  std::unique_ptr<xmlBuffer, void (*)(xmlBufferPtr)> buffer(xmlBufferCreate(), &xmlBufferFree);
  if (holds_markup(field)) {
    xmlSaveCtxtPtr save =
        xmlSaveToBuffer(buffer.get(), "UTF-8", XML_SAVE_NO_EMPTY | XML_SAVE_AS_XML);
    for (xmlNode* c = field->children; c != nullptr; c = c->next) xmlSaveTree(save, c);
    xmlSaveClose(save);
  } else {
    xmlNodeBufGetContent(buffer.get(), field);
  }
  return std::string(reinterpret_cast<const char*>(xmlBufferContent(buffer.get())),
                     xmlBufferLength(buffer.get()));
}

template <class F>
void for_each_element(xmlNode* parent, F&& f) {
  for (xmlNode* c = parent->children; c != nullptr; c = c->next) {
    if (c->type == XML_ELEMENT_NODE) f(c);
  }
}

// The members of a list element ("Items" or "Prices": a Count and a Collection).
Json members(xmlNode* list, Json (*record)(xmlNode*)) {
  Json out = Json::array();
  for_each_element(list, [&](xmlNode* c) {
    if (name_of(c) != "Collection") return;
    for_each_element(c, [&](xmlNode* m) { out.push_back(record(m)); });
  });
  return out;
}

Json fields(xmlNode* record) {
  Json out = Json::object();
  for_each_element(record, [&](xmlNode* f) { out[std::string(name_of(f))] = field_value(f); });
  return out;
}

Json item(xmlNode* element) {
  Json out = Json::object();
  for_each_element(element, [&](xmlNode* f) {
    const std::string name(name_of(f));
    out[name] = name == "Prices" ? members(f, fields) : Json(field_value(f));
  });
  return out;
}

// ---- JSON -> XML ----

// Only what the library's reader decodes: "&", "<" and ">" as entities, everything else
// as itself (a general XML writer would also turn CR into a character reference, which
// the library keeps as text).
void append_escaped(std::string& out, std::string_view value) {
  for (char c : value) {
    switch (c) {
      case '&': out += "&amp;"; break;
      case '<': out += "&lt;"; break;
      case '>': out += "&gt;"; break;
      default: out += c;
    }
  }
}

bool is_name(std::string_view name) {
  if (name.empty()) return false;
  for (char c : name) {
    if (!(std::isalnum(static_cast<unsigned char>(c)) || c == '_')) return false;
  }
  return !std::isdigit(static_cast<unsigned char>(name.front()));
}

// Writes the item document a JSON form describes, naming the place of any misfit.
struct Writer {
  std::string xml;

  void field(const std::string& where, const std::string& name, const Json& value) {
    if (!is_name(name) || name == "Count" || name == "Collection") {
      throw Refusal(where + ": \"" + name + "\" is not a field name");
    }
    std::string text;
    if (value.is_string()) {
      text = value.get<std::string>();
    } else if (value.is_number()) {
      text = value.dump();  // 2.49 as written, for hand-made JSON
    } else if (!value.is_null()) {
      throw Refusal(where + ": \"" + name + "\" must be a string");
    }
    xml += "<" + name + ">";
    append_escaped(xml, text);
    xml += "</" + name + ">";
  }

  // A record's fields; an item's "Prices" is its price list.
  void record(const std::string& where, const Json& fields, bool is_item) {
    if (!fields.is_object()) throw Refusal(where + " must be an object");
    for (const auto& [name, value] : fields.items()) {
      if (is_item && name == "Prices") {
        xml += "<Prices>";
        list(where + " \"Prices\"", value, "Price", "price");
        xml += "</Prices>";
      } else {
        field(where, name, value);
      }
    }
  }

  // A list's count and members, inside its element.
  void list(const std::string& where, const Json& members, const char* member,
            const char* label) {
    if (!members.is_array()) throw Refusal(where + " must be an array");
    xml += "<Count>" + std::to_string(members.size()) + "</Count><Collection>";
    size_t n = 0;
    for (const Json& m : members) {
      const bool is_item = std::string_view(member) == "Item";
      const std::string place = std::string(label) + " " + std::to_string(++n);
      xml += std::string("<") + member + ">";
      record(is_item ? place : where + ", " + place, m, is_item);
      xml += std::string("</") + member + ">";
    }
    xml += "</Collection>";
  }
};

// The text as libxml2's tree. The library keeps a CR inside a value as itself, where an
// XML parser reads CR LF as LF: CRs go in as references, unless one stands inside a tag.
using Document = std::unique_ptr<xmlDoc, void (*)(xmlDocPtr)>;
Document parsed(const std::string& xml) {
  auto parse = [](const std::string& text) {
    return Document(xmlReadMemory(text.data(), static_cast<int>(text.size()), nullptr, "UTF-8",
                                  XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING),
                    &xmlFreeDoc);
  };
  std::string kept;
  kept.reserve(xml.size());
  for (char c : xml) {
    if (c == '\r') {
      kept += "&#13;";
    } else {
      kept += c;
    }
  }
  Document doc = parse(kept);
  return doc ? std::move(doc) : parse(xml);
}

}  // namespace

std::string selection_json(const std::string& xml) {
  Document doc = parsed(xml);
  xmlNode* root = doc ? xmlDocGetRootElement(doc.get()) : nullptr;
  if (root == nullptr) throw Refusal("not well-formed XML");
  Json out = Json::object();
  for_each_element(root, [&](xmlNode* c) {
    const std::string name(name_of(c));
    if (name == "Count") return;  // the length of "Items"
    if (name == "Collection") {
      out["Items"] = members(root, item);
    } else if (name == "Vehicle") {
      out[name] = fields(c);
    } else {
      out[name] = field_value(c);
    }
  });
  if (!out.contains("Items")) out["Items"] = Json::array();
  return out.dump(2) + "\n";
}

Text selection_xml(const std::string& json) {
  Json form;
  try {
    form = Json::parse(json);
  } catch (const Json::parse_error& e) {
    throw Refusal(std::string("not JSON: ") + e.what());
  }
  if (!form.is_object()) throw Refusal("not a selection's JSON form: an object is expected");
  Writer out;
  out.xml = "<Items>";
  for (const auto& [name, value] : form.items()) {
    if (name == "Items") {
      out.list("\"Items\"", value, "Item", "item");
    } else if (name == "Vehicle") {
      Json vehicle = value;
      if (vehicle.is_object() && vehicle.contains("CurrentMileage")) {
        vehicle["Mileage"] = vehicle["CurrentMileage"];
        vehicle.erase("CurrentMileage");
      }
      out.xml += "<Vehicle>";
      out.record("\"Vehicle\"", vehicle, false);
      out.xml += "</Vehicle>";
    } else {
      out.field("the selection", name, value);
    }
  }
  out.xml += "</Items>";
  return from_utf8(out.xml);
}

}  // namespace vexqom::tool
