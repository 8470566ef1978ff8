#include "tool_table.h"

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

std::string vehicle_lines(ICatItemCol& selection) {
  Ref<ICatVehicle> vehicle = selection.get_Vehicle();
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

}  // namespace

std::string selection_report(ICatItemCol& selection) {
  std::string out = vehicle_lines(selection) + "\n";
  Table table{{"#", "Kind", "Vendor number", "Description", "Status", "Qty", "Jobber cost"},
              {true, false, false, false, false, true, true},
              {}};
  const int32_t count = selection.get_Count();
  for (int32_t i = 1; i <= count; ++i) {
    Variant position(i);
    Ref<ICatItem> item = selection.get_Item(position);
    if (!item) continue;
    table.rows.push_back({std::to_string(i), kind_name(item->get_ItemType()),
                          to_utf8(item->VendorNumber()), to_utf8(item->get_Description()),
                          to_utf8(to_text(item->get_ItemStatus())),
                          to_utf8(to_text(item->get_QuantityToOrder())),
                          money(Currency::from_double(number_via_text(item->JobberCost())))});
  }
  out += table.render();
  out += "\nItems: " + std::to_string(count) +
         "   Total quantity: " + to_utf8(selection.get_ItemsTotalCount().to_text()) +
         "   Total cost: " + money(selection.get_ItemsTotalCost()) + "\n";
  out += "Flagged to order: quantity " + to_utf8(selection.ItemsSelectedCount().to_text()) +
         ", cost " + money(selection.ItemsSelectedCost()) + "\n";
  return out;
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

}  // namespace vexqom::tool
