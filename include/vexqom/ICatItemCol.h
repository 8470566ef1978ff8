// ICatItemCol: a selection — the catalog items a user picked, the vehicle they were
// picked for, and running totals. Its XML form is the item document ("Items").
#pragma once

#include <cstdint>

#include "vexqom/Collection.h"
#include "vexqom/Enumerator.h"
#include "vexqom/ICatItem.h"
#include "vexqom/ICatVehicle.h"
#include "vexqom/api.h"
#include "vexqom/currency.h"
#include "vexqom/error.h"
#include "vexqom/events.h"
#include "vexqom/object.h"

namespace vexqom {

class VEXQOM_API ICatItemCol : public Object {
 public:
  static constexpr const char* kTypeName = "ICatItemCol";
  static constexpr int32_t kCountChangedDispid = 1;
  static const ClassInfo& static_class_info();
  const ClassInfo& class_info() const override { return static_class_info(); }

  // Turns this thread's XML writer switches on; version "v2.20".
  ICatItemCol();
  ~ICatItemCol() override;

  // ---- The item document ----
  Text get_XML();
  void put_XML(const Text& xsXML);
  Text get_XDocVersion() const { return XDocVersion_; }

  // ---- Members ----
  // A Text key loses its tab characters, also in the caller's variable.
  bool ItemExists(Variant& vntIndexKey);
  void putref_Vehicle(const Ref<ICatVehicle>& vehicle) { Vehicle_ = vehicle; }
  Ref<ICatVehicle> get_Vehicle() const { return Vehicle_; }
  // An existing key adds nothing and returns an empty reference. Raises CountChanged.
  Ref<ICatItem> Add(const Ref<ICatItem>& xoItem, const Text& xsKey);
  // Never fails: an empty reference for an absent key or position.
  Ref<ICatItem> get_Item(Variant& vntIndexKey);
  int32_t get_Count() const;
  void Remove(Variant& vntIndexKey);
  Ref<Enumerator> get_NewEnum() const;
  void Clear(bool xbDestroyObject = false);

  // ---- Summaries ----
  // "SHOWXML" / "HIDEXML" (any letter case) switch this thread's writers; anything else
  // removes the items without status.
  void Summarize(const Text& xsOption);
  // The distinct descriptions, keyed by their upper-cased text.
  Ref<Collection> GetDescriptions();
  int16_t GetItemGroup(const Text& xsDescription);

  // ---- Totals ----
  Currency get_ItemsTotalCount() const { return total_count_; }
  Currency get_ItemsTotalCost() const { return total_cost_; }
  Currency ItemsSelectedCount();
  Currency ItemsSelectedCost();

  // The CountChanged connections (C++ sinks: events().advise(sink)).
  EventConnections& events() { return events_; }
  EventConnections* event_connections() noexcept override { return &events_; }

  const ErrorState& last_error() const { return errors_; }

 private:
  friend class XmlForm<ICatItemCol>;

  Collection& require_members() const;  // error 91 after Clear(true)
  // ItemExists' lookup: cleans a Text key in place; the member when found and asked for.
  bool find_member(Variant& vntIndexKey, Variant* found);

  Ref<Collection> members_;
  Ref<ICatVehicle> Vehicle_;
  Text XDocVersion_;
  Currency total_count_;
  Currency total_cost_;
  EventConnections events_;
  ErrorState errors_;
};

}  // namespace vexqom
