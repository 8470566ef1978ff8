#include "vexqom/ICatItemCol.h"

#include "collections/members.h"
#include "frame/class_info.h"
#include "frame/diagnostics.h"
#include "frame/procedure.h"
#include "frame/text_procedures.h"

namespace vexqom {

const ClassInfo& ICatItemCol::static_class_info() {
  using C = ICatItemCol;
  static const ClassInfo info =
      ClassBuilder<C>("ICatItemCol", "_ICatItemCol", ids::kClsidICatItemCol,
                      ids::kIid_ICatItemCol)
          .earlier_iid(ids::kIid_ICatItemColEarlier)
          .creatable()
          .events(EventSpec{"__ICatItemCol", ids::kIid__ICatItemCol,
                            ids::kIid__ICatItemColEarlier, "CountChanged", kCountChangedDispid})
          .property("XML", P(3), {get<&C::get_XML>(), let<&C::put_XML>({"xsXML"})})
          .property("XDocVersion", P(2), {get<&C::get_XDocVersion>()})
          .function("ItemExists", M(4),
                    method<&C::ItemExists>({ParamName("vntIndexKey").by_ref()}))
          .property("Vehicle", P(1),
                    {set<&C::putref_Vehicle>({ParamName("vData").by_ref()}),
                     get<&C::get_Vehicle>()})
          .function("Add", M(5), method<&C::Add>({ParamName("xoItem").by_ref(), "xsKey"}))
          .property("Item", kDispidValue,
                    {get<&C::get_Item>({ParamName("vntIndexKey").by_ref()})})
          .property("Count", P(0), {get<&C::get_Count>()})
          .function("Remove", M(6), method<&C::Remove>({ParamName("vntIndexKey").by_ref()}))
          .property("NewEnum", kDispidNewEnum, {get<&C::get_NewEnum>()}, /*hidden=*/true)
          .function("Clear", M(9),
                    method<&C::Clear>({ParamName("xbDestroyObject").optional(Variant(false))}))
          .function("Summarize", M(10), method<&C::Summarize>({"xsOption"}))
          .function("GetDescriptions", M(11), method<&C::GetDescriptions>())
          .function("GetItemGroup", M(12), method<&C::GetItemGroup>({"xsDescription"}))
          .property("ItemsTotalCount", P(14), {get<&C::get_ItemsTotalCount>()})
          .property("ItemsTotalCost", P(13), {get<&C::get_ItemsTotalCost>()})
          .function("ItemsSelectedCount", M(15), method<&C::ItemsSelectedCount>())
          .function("ItemsSelectedCost", M(16), method<&C::ItemsSelectedCost>())
          .build();
  return info;
}

namespace {

// Quantities and prices arrive as Variants of any kind; Add and Remove read them through
// their text form, so that "4 boxes" counts 4 and an empty value 0.
Currency extended_cost(ICatItem& item) {
  const double cost = number_via_text(item.JobberCost());  // JOBBER/MSRP records first
  const double quantity = number_via_text(item.get_QuantityToOrder());
  return Currency::from_double(cost * quantity);
}

Currency quantity_of(ICatItem& item) {
  return Currency::from_double(number_via_text(item.get_QuantityToOrder()));
}

// A value as an operand of Variant arithmetic: empty is 0, numeric text its number,
// other text 13, null 94.
double arithmetic_operand(const Variant& v) {
  switch (v.type()) {
    case VarType::kEmpty:
      return 0.0;
    case VarType::kNull:
      throw Error(errc::kInvalidUseOfNull);
    case VarType::kText: {
      double value = 0.0;
      if (!is_numeric_text(v.text(), &value)) throw Error(errc::kTypeMismatch);
      return value;
    }
    case VarType::kObject:
      throw Error(errc::kTypeMismatch);
    default:
      return coerce_to_double(v);
  }
}

// sum + v with Variant addition, then back to Currency. Exact kinds stay exact; a double
// or a numeric text makes the sum a double first, as Variant addition does.
Currency add_to_sum(Currency sum, const Variant& v) {
  switch (v.type()) {
    case VarType::kEmpty:
      return sum;
    case VarType::kInteger:
    case VarType::kLong:
    case VarType::kCurrency:
    case VarType::kBoolean:
      return sum + coerce_to_currency(v);
    default:
      return Currency::from_double(sum.to_double() + arithmetic_operand(v));
  }
}

}  // namespace

ICatItemCol::ICatItemCol() {
  run_procedure(errors_, u"ICatItemCol | Class_Initialize", Trace::Yes, [&](int& line) {
    line = 1;
    auto& state = diag::thread_state();
    state.XMLCompress = true;
    state.XMLZeroSuppress = true;
    line = 2;
    Clear(false);
    line = 3;
    XDocVersion_ = u"v2.20";
  });
}

ICatItemCol::~ICatItemCol() {
  ignore_errors([&] { Clear(true); });
  errors_ = ErrorState();
}

Collection& ICatItemCol::require_members() const {
  if (!members_) throw Error(errc::kObjectNotSet);
  return *members_;
}

bool ICatItemCol::find_member(Variant& vntIndexKey, Variant* found) {
  bool exists = false;
  ignore_errors([&] {
    if (vntIndexKey.is_text() && vntIndexKey.text().find(u'\t') != Text::npos) {
      vntIndexKey = Variant(str_CharEliminate(vntIndexKey.text(), u"\t", true));
    }
    if (!members_ || members_->size() == 0) return;
    Variant member = members_->Item(vntIndexKey);
    if (found != nullptr) *found = std::move(member);
    exists = true;
  });
  return exists;
}

bool ICatItemCol::ItemExists(Variant& vntIndexKey) { return find_member(vntIndexKey, nullptr); }

Ref<ICatItem> ICatItemCol::get_Item(Variant& vntIndexKey) {
  Variant member;
  if (!find_member(vntIndexKey, &member) || !member.is_object()) return Ref<ICatItem>();
  return ref_cast<ICatItem>(member.object());
}

int32_t ICatItemCol::get_Count() const { return require_members().Count(); }

Ref<Enumerator> ICatItemCol::get_NewEnum() const { return require_members().NewEnum(); }

Ref<ICatItem> ICatItemCol::Add(const Ref<ICatItem>& xoItem, const Text& xsKey) {
  return run_procedure(errors_, u"ICatItemCol | Add", Trace::Yes, [&](int& line) {
    line = 3;
    // The duplicate check is the append's own: the list refuses a present key (457, the
    // same caseless test a lookup makes, tabs included) and stays unchanged. An existing
    // key is reported only through the empty result, without a log line; a new key costs
    // no failed lookup.
    Collection& members = require_members();
    try {
      members.add(Variant(xoItem), xsKey);
    } catch (const Error& e) {
      if (e.number() != errc::kDuplicateKey) throw;
      return Ref<ICatItem>();
    }
    line = 4;
    if (!xoItem) throw Error(errc::kObjectNotSet);
    total_cost_ += extended_cost(*xoItem);
    line = 5;
    total_count_ += quantity_of(*xoItem);
    line = 6;
    events_.fire(*this, kCountChangedDispid);
    line = 7;
    return xoItem;
  });
}

void ICatItemCol::Remove(Variant& vntIndexKey) {
  run_procedure(errors_, u"ICatItemCol | Remove", Trace::Yes, [&](int& line) {
    line = 2;
    // Both halves of the test run, so a Text key is cleaned even without a member list.
    Variant member;
    if (!find_member(vntIndexKey, &member)) return;
    line = 3;
    ICatItem& item = member_record<ICatItem>(member);
    line = 4;
    total_cost_ -= extended_cost(item);
    if (total_cost_ < Currency()) total_cost_ = Currency();
    line = 5;
    total_count_ -= quantity_of(item);
    if (total_count_ < Currency()) total_count_ = Currency();
    line = 6;
    members_->Remove(vntIndexKey);
  });
}

void ICatItemCol::Clear(bool xbDestroyObject) {
  run_procedure(errors_, u"ICatItemCol | Clear", Trace::Yes, [&](int& line) {
    line = 2;
    members_.reset();
    Vehicle_.reset();
    line = 3;
    total_count_ = Currency();
    total_cost_ = Currency();
    line = 4;
    if (!xbDestroyObject) {
      members_ = create<Collection>();
      Vehicle_ = create<ICatVehicle>();
    }
  });
}

namespace {

// The sum over the items flagged to order, each added by term(sum, item); members() gives
// the member list (91 without one).
template <class Members, class Term>
Currency sum_flagged(ErrorState& errors, TextView label, Members&& members, Term&& term) {
  return run_procedure(errors, label, Trace::Yes, [&](int& line) {
    line = 2;
    Currency sum;
    const Collection& list = members();
    for (size_t i = 0; i < list.size(); ++i) {
      line = 3;
      ICatItem& item = member_record<ICatItem>(list.at(i));
      if (item.FlaggedToOrder()) {
        line = 4;
        sum = term(sum, item);
      }
    }
    line = 5;
    return sum;
  });
}

}  // namespace

Currency ICatItemCol::ItemsSelectedCount() {
  return sum_flagged(
      errors_, u"ICatItemCol | ItemsSelectedCount", [&]() -> auto& { return require_members(); },
      [](Currency sum, ICatItem& item) { return add_to_sum(sum, item.get_QuantityToOrder()); });
}

Currency ICatItemCol::ItemsSelectedCost() {
  return sum_flagged(
      errors_, u"ICatItemCol | ItemsSelectedCost", [&]() -> auto& { return require_members(); },
      [](Currency sum, ICatItem& item) {
        // Both operands are read before either is judged, as in a product of Variants.
        const Variant quantity = item.get_QuantityToOrder();
        const Variant cost = item.JobberCost();
        const double amount = arithmetic_operand(quantity) * arithmetic_operand(cost);
        return Currency::from_double(sum.to_double() + amount);
      });
}

}  // namespace vexqom
