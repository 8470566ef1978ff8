#include "tool_reports.h"

#include <nlohmann/json.hpp>

#include <cstdio>
#include <string>
#include <vector>

#include "vexqom/variant.h"

namespace vexqom::tool {
namespace {

// Display width: one column per code point (the reports hold no wide characters).
size_t width_of(const std::string& utf8) {
  size_t n = 0;
  for (unsigned char c : utf8) n += (c & 0xC0) != 0x80;
  return n;
}

std::string pad(const std::string& s, size_t width, bool right) {
  size_t w = width_of(s);
  if (w >= width) return s;
  std::string fill(width - w, ' ');
  return right ? fill + s : s + fill;
}

// Money with two decimals at least ("7.00", "2.4950").
std::string money(Currency amount) {
  std::string text = to_utf8(amount.to_text());
  size_t dot = text.find('.');
  if (dot == std::string::npos) return text + ".00";
  while (text.size() - dot - 1 < 2) text += '0';
  return text;
}

std::string kind_name(vexCatalogItemType type) {
  switch (type) {
    case vexCatalogItemType::vcit_Part: return "Part";
    case vexCatalogItemType::vcit_Labor: return "Labor";
    case vexCatalogItemType::vcit_Comment: return "Comment";
  }
  return "Type " + std::to_string(static_cast<int32_t>(type));
}

struct Table {
  std::vector<std::string> headings;
  std::vector<bool> right_aligned;
  std::vector<std::vector<std::string>> rows;

  std::string render() const {
    std::vector<size_t> widths(headings.size());
    for (size_t c = 0; c < headings.size(); ++c) widths[c] = width_of(headings[c]);
    for (const auto& row : rows) {
      for (size_t c = 0; c < row.size(); ++c) widths[c] = std::max(widths[c], width_of(row[c]));
    }
    std::string out;
    auto line = [&](const std::vector<std::string>& cells) {
      std::string text;
      for (size_t c = 0; c < cells.size(); ++c) {
        if (c) text += "  ";
        text += pad(cells[c], widths[c], right_aligned[c]);
      }
      while (!text.empty() && text.back() == ' ') text.pop_back();
      out += text + "\n";
    };
    line(headings);
    std::vector<std::string> rule;
    for (size_t w : widths) rule.push_back(std::string(w, '-'));
    line(rule);
    for (const auto& row : rows) line(row);
    return out;
  }
};

// What both forms of the selection report show, gathered once.
struct SelectionFacts {
  Ref<ICatVehicle> vehicle;
  struct Row {
    int32_t position;
    vexCatalogItemType kind;
    std::string vendor_number, description, status, quantity;
    Currency jobber_cost;
  };
  std::vector<Row> rows;
  int32_t count = 0;
  Currency total_quantity, total_cost, flagged_quantity, flagged_cost;
};

SelectionFacts gather(ICatItemCol& selection) {
  SelectionFacts facts;
  facts.vehicle = selection.get_Vehicle();
  facts.count = selection.get_Count();
  for (int32_t i = 1; i <= facts.count; ++i) {
    Variant position(i);
    Ref<ICatItem> item = selection.get_Item(position);
    if (!item) continue;
    facts.rows.push_back({i, item->get_ItemType(), to_utf8(item->VendorNumber()),
                          to_utf8(item->get_Description()),
                          to_utf8(to_text(item->get_ItemStatus())),
                          to_utf8(to_text(item->get_QuantityToOrder())),
                          Currency::from_double(number_via_text(item->JobberCost()))});
  }
  facts.total_quantity = selection.get_ItemsTotalCount();
  facts.total_cost = selection.get_ItemsTotalCost();
  facts.flagged_quantity = selection.ItemsSelectedCount();
  facts.flagged_cost = selection.ItemsSelectedCost();
  return facts;
}

std::string vehicle_lines(ICatVehicle* vehicle) {
  if (!vehicle) return "Vehicle: (none)\n";
  std::string name = to_utf8(trim_blanks(vehicle->get_Description()));
  std::string out = "Vehicle: " + (name.empty() ? std::string("(none)") : name) + "\n";
  std::string details;
  auto detail = [&](const char* label, const Text& value) {
    if (value.empty()) return;
    if (!details.empty()) details += "   ";
    details += std::string(label) + " " + to_utf8(value);
  };
  detail("VIN", vehicle->get_VIN());
  detail("Plate", vehicle->get_Plate());
  detail("Mileage", vehicle->get_CurrentMileage());
  detail("AAIA", vehicle->get_AAIA());
  if (!details.empty()) out += "         " + details + "\n";
  return out;
}

// Amounts as the library's own exact text ("38.2"): JSON numbers would pass through
// floating point in most readers.
std::string exact(Currency amount) { return to_utf8(amount.to_text()); }

std::string dumped(const nlohmann::ordered_json& json) { return json.dump(2) + "\n"; }

}  // namespace

std::string selection_report(ICatItemCol& selection) {
  SelectionFacts facts = gather(selection);
  std::string out = vehicle_lines(facts.vehicle.get()) + "\n";
  Table table{{"#", "Kind", "Vendor number", "Description", "Status", "Qty", "Jobber cost"},
              {true, false, false, false, false, true, true},
              {}};
  for (const auto& row : facts.rows) {
    table.rows.push_back({std::to_string(row.position), kind_name(row.kind), row.vendor_number,
                          row.description, row.status, row.quantity, money(row.jobber_cost)});
  }
  out += table.render();
  out += "\nItems: " + std::to_string(facts.count) +
         "   Total quantity: " + exact(facts.total_quantity) +
         "   Total cost: " + money(facts.total_cost) + "\n";
  out += "Flagged to order: quantity " + exact(facts.flagged_quantity) + ", cost " +
         money(facts.flagged_cost) + "\n";
  return out;
}

std::string selection_report_json(ICatItemCol& selection) {
  SelectionFacts facts = gather(selection);
  nlohmann::ordered_json out;
  if (facts.vehicle) {
    ICatVehicle& v = *facts.vehicle;
    out["vehicle"] = {{"description", to_utf8(trim_blanks(v.get_Description()))},
                      {"vin", to_utf8(v.get_VIN())},
                      {"plate", to_utf8(v.get_Plate())},
                      {"mileage", to_utf8(v.get_CurrentMileage())},
                      {"aaia", to_utf8(v.get_AAIA())}};
  } else {
    out["vehicle"] = nullptr;
  }
  out["items"] = nlohmann::ordered_json::array();
  for (const auto& row : facts.rows) {
    out["items"].push_back({{"position", row.position},
                            {"kind", kind_name(row.kind)},
                            {"vendor_number", row.vendor_number},
                            {"description", row.description},
                            {"status", row.status},
                            {"quantity", row.quantity},
                            {"jobber_cost", exact(row.jobber_cost)}});
  }
  out["totals"] = {{"items", facts.count},
                   {"quantity", exact(facts.total_quantity)},
                   {"cost", exact(facts.total_cost)},
                   {"flagged_quantity", exact(facts.flagged_quantity)},
                   {"flagged_cost", exact(facts.flagged_cost)}};
  return dumped(out);
}

std::string summary_report(ICatItemCol& selection) {
  Table table{{"Group", "Description"}, {true, false}, {}};
  Ref<Collection> descriptions = selection.GetDescriptions();
  for (size_t i = 0; i < descriptions->size(); ++i) {
    Text description = to_text(descriptions->at(i));
    table.rows.push_back({std::to_string(selection.GetItemGroup(description)),
                          to_utf8(description)});
  }
  return table.render() + "\n" + std::to_string(descriptions->size()) + " descriptions\n";
}

std::string summary_report_json(ICatItemCol& selection) {
  nlohmann::ordered_json out;
  out["descriptions"] = nlohmann::ordered_json::array();
  Ref<Collection> descriptions = selection.GetDescriptions();
  for (size_t i = 0; i < descriptions->size(); ++i) {
    Text description = to_text(descriptions->at(i));
    out["descriptions"].push_back(
        {{"description", to_utf8(description)}, {"group", selection.GetItemGroup(description)}});
  }
  return dumped(out);
}

}  // namespace vexqom::tool
