// The C interface driven by a hostile host: the input is a program of operations on a few
// object slots (create any class, look members up, invoke with any argument kinds, flags
// and counts, walk enumerators, advise sinks that unadvise, release or re-enter). After
// every call: a failure leaves an empty result and the same number in vq_error_number().
// Once the program has released everything, no object may be left alive.
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string>

#include "frame/diagnostics.h"
#include "vexqom.h"

namespace {

const char* const kClasses[] = {
    "vexqom_PLUMEK2.ICatItemCol",  "vexqom_PLUMEK2.ICatItem",     "vexqom_PLUMEK2.ICatPriceCol",
    "vexqom_PLUMEK2.ICatPrice",    "vexqom_PLUMEK2.ICatVehicle",  "vexqom_PLUMEK2.ICatPresetCol",
    "vexqom_PLUMEK2.ICatPreset",   "vexqom_PLUMEK2.ICatListCol",  "vexqom_PLUMEK2.ICatList",
    "VEXQOM_plumek2.icatitemcol",  "vexqom_PLUMEK2.NoSuchClass",  "",
    "{6B1E2A45-3C5D-4F21-9A1B-527E0C44D12A}"};

const char* const kMembers[] = {
    "AAIA", "Add", "AddObject", "Available", "Category", "Clear", "Comment", "ComponentSide",
    "CoreCost", "CoreList", "Cost", "Count", "CurrentMileage", "DeliveryTime", "Description",
    "Engine", "FlaggedToOrder", "GenericDescription", "GenericDescriptionID", "GetDescriptions",
    "GetItemGroup", "Group", "GroupNumber", "Heading", "ID", "ImageCallOut", "ImageFileName",
    "ImageURLalt", "ImageURLc2c", "Item", "ItemExists", "ItemGroup", "ItemLaborAvailable",
    "ItemNumber", "ItemSource", "ItemStatus", "ItemType", "ItemsSelectedCost",
    "ItemsSelectedCount", "ItemsTotalCost", "ItemsTotalCount", "JobberCoreCost",
    "JobberCoreList", "JobberCost", "JobberList", "LaborHRSnormal", "LaborHRSsevere",
    "LaborHRSwarranty", "LaborOperation", "LaborRate", "LaborSkill", "LaborType", "LineCode",
    "List", "Location", "MCLsequence", "Make", "ManufacturerName", "Margin", "MediaTagID",
    "Model", "NewEnum", "PackNumUnits", "PackingUnits", "PartTypeCode", "Plate", "PriceCol",
    "QtyBuyingInc", "QuantityOnTicket", "QuantityPerCar", "QuantityToOrder", "Rank", "Remove",
    "Sell", "SellerID", "Summarize", "SupplierExtendedInfo", "SupplierMovementFlag",
    "SupplierMovementRank", "SupplierStockingFlag", "Tag", "UniqueKey", "UrgentFlag", "VIN",
    "Vehicle", "VendorNumber", "VendorNumberXRef", "WarrantyCode", "WorkGroup", "XDocVersion",
    "XML", "Year", "YearRange", "", "xml", "CountChanged"};

// Texts a mutation rarely builds on its own: documents of each form, locations, numbers.
const char* const kTexts[] = {
    "JOBBER", "MSRP", "LOCAL", "INVOICE", "K1", "k1", "1.5", "-0", "&H7FFF", "1E+308", "abc",
    "<Items><Count>2</Count><Collection><Item><LineCode>A</LineCode><Prices><Count>1</Count>"
    "<Collection><Price><Location>JOBBER</Location><Cost>2</Cost><QuantityToOrder>3"
    "</QuantityToOrder></Price></Collection></Prices></Item><Item><ItemType>2</ItemType></Item>"
    "</Collection><Vehicle><Year>2004</Year></Vehicle></Items>",
    "<Item><Description>x &amp; y</Description><ItemStatus>ORDER</ItemStatus></Item>",
    "<Prices><Count>2</Count><Collection><Price><Location>LOCAL</Location></Price><Price>"
    "<Location>local</Location></Price></Collection></Prices>",
    "<Price><Location>MSRP</Location><List>99999999999999</List></Price>",
    "<Vehicle><VIN>1GCEK19T44E123456</VIN></Vehicle>",
    "<ICatPresetCol><Count>1</Count><Preset><Category>C</Category></Preset></ICatPresetCol>",
    "<?xml version=\"1.0\"?><List><Heading>H</Heading><ID>1</ID></List>",
    "<Items><Count>1</Count></Items>", "<Items>"};

// VQ_FUZZ_TRACE=1 prints each call, to read what a finding did.
const bool kTrace = std::getenv("VQ_FUZZ_TRACE") != nullptr;

constexpr int kSlots = 8;
constexpr int kSinks = 6;
constexpr int kMaxOps = 96;
constexpr int kMaxReentry = 2;

[[noreturn]] void violation(const char* what, int32_t rc) {
  std::fprintf(stderr, "c_host_fuzz: %s (rc %d, recorded %d: %s)\n", what, rc,
               vq_error_number(), vq_error_description());
  std::abort();
}

// What every failing call must leave behind.
void check_failure(int32_t rc, const vq_value* result) {
  if (rc == 0) return;
  if (vq_error_number() != rc) violation("vq_error_number differs from the result", rc);
  if (vq_error_source() == nullptr || vq_error_description() == nullptr) {
    violation("error texts missing", rc);
  }
  if (result != nullptr &&
      (result->kind != VQ_EMPTY || result->text != nullptr || result->obj != nullptr)) {
    violation("a failed call left a result", rc);
  }
}

class Program;

// A CountChanged sink with a behaviour. It holds its own reference to its source (dropped
// by the release behaviour or at the end of the program).
struct Sink {
  Program* program;
  vq_object* origin;  // identity only
  vq_object* source;  // null once the sink dropped its reference
  uint32_t cookie;
  uint8_t behaviour;
  uint8_t argument;
  int calls;
};

class Program {
 public:
  Program(const uint8_t* data, size_t size) : data_(data), size_(size) {}

  void run() {
    for (int op = 0; op < kMaxOps && pos_ < size_; ++op) step();
    finish();
  }

  void on_event(Sink* sink, vq_object* source, int32_t dispid) {
    if (dispid != 1 || source == nullptr || source != sink->origin) {
      violation("event with the wrong source or identifier", dispid);
    }
    ++sink->calls;
    if (reentry_ >= kMaxReentry) return;
    ++reentry_;
    int32_t rc = 0;
    switch (sink->behaviour % 7) {
      case 0: {  // reads the borrowed source
        vq_value count{};
        rc = vq_invoke(source, dispid_for(source, 11), VQ_GET, nullptr, 0, &count);
        check_failure(rc, &count);
        vq_value_clear(&count);
        break;
      }
      case 1:  // unadvises itself
        rc = vq_unadvise(source, sink->cookie);
        check_failure(rc, nullptr);
        break;
      case 2: {  // unadvises another sink and frees it
        const int other = sink->argument % kSinks;
        if (sinks_[other] != nullptr && sinks_[other] != sink &&
            sinks_[other]->origin == source) {
          rc = vq_unadvise(source, sinks_[other]->cookie);
          check_failure(rc, nullptr);
          drop_sink(other);
        }
        break;
      }
      case 3:  // drops its own reference, maybe the last one
        if (sink->source != nullptr) {
          sink->source = nullptr;
          vq_release(source);
        }
        break;
      case 4:  // re-enters: another member call on the source
        invoke_member(source, sink->argument);
        break;
      case 5:  // advises a new sink during delivery
        advise(source, sink->argument);
        break;
      default:  // Clear(True) while the event is delivered
        clear_true(source);
        break;
    }
    --reentry_;
  }

 private:
  uint8_t byte() { return pos_ < size_ ? data_[pos_++] : 0; }
  uint32_t u32() {
    uint32_t v = 0;
    for (int i = 0; i < 4; ++i) v = (v << 8) | byte();
    return v;
  }
  vq_object*& slot() { return slots_[byte() % kSlots]; }

  void store(vq_object* obj) {
    vq_object*& s = slot();
    if (s != nullptr) vq_release(s);
    s = obj;
  }

  // A text of fuzz bytes (invalid UTF-8 included) or one of the texts above, malloc'ed
  // because a by-reference key may be freed and replaced by the library.
  vq_value text() {
    vq_value v{};
    v.kind = VQ_TEXT;
    std::string s;
    const uint8_t choice = byte();
    if (choice < 128) {
      s = kTexts[choice % (sizeof kTexts / sizeof kTexts[0])];
    } else {
      const size_t n = byte() % 48;
      for (size_t i = 0; i < n && pos_ < size_; ++i) s += static_cast<char>(byte());
    }
    if (choice == 255) return v;  // no text at all: read as empty
    v.text_len = s.size();
    v.text = static_cast<char*>(std::malloc(s.size() + 1));
    std::memcpy(v.text, s.c_str(), s.size() + 1);
    return v;
  }

  vq_value argument() {
    vq_value v{};
    const uint8_t kind = byte();
    static const int64_t kIntegers[] = {0, 1, -1, 32767, -32768, 32768, 2147483647,
                                        -2147483648LL, 2147483648LL,
                                        std::numeric_limits<int64_t>::max(),
                                        std::numeric_limits<int64_t>::min()};
    static const double kDoubles[] = {0.0, -0.0, 0.5, 2.5, -1e-300, 1e308, 9.2e14, 3.3e4,
                                      std::numeric_limits<double>::quiet_NaN(),
                                      std::numeric_limits<double>::infinity(),
                                      -std::numeric_limits<double>::infinity()};
    switch (kind % 11) {
      case 0: v.kind = VQ_EMPTY; break;
      case 1: v.kind = VQ_NULL; break;
      case 2: v.kind = VQ_INTEGER; v.i = kIntegers[byte() % 11]; break;
      case 3: v.kind = VQ_LONG; v.i = static_cast<int32_t>(u32()); break;
      case 4: v.kind = VQ_LONG; v.i = kIntegers[byte() % 11]; break;
      case 5: v.kind = VQ_DOUBLE; v.d = kDoubles[byte() % 11]; break;
      case 6: v.kind = VQ_CURRENCY; v.i = kIntegers[byte() % 11]; break;
      case 7: return text();
      case 8: {  // an object of any class, or an empty reference
        v.kind = VQ_OBJECT;
        v.obj = slot();
        if (v.obj != nullptr) vq_addref(v.obj);
        break;
      }
      case 9: v.kind = VQ_BOOLEAN; v.i = (byte() & 1) ? -1 : 0; break;
      default: v.kind = static_cast<int32_t>(kind);  // no such kind
    }
    return v;
  }

  int32_t dispid_for(vq_object* obj, uint8_t how) {
    if (how < 200 || obj == nullptr) {
      int32_t id = 0;
      const int32_t rc =
          vq_get_dispid(obj, kMembers[how % (sizeof kMembers / sizeof kMembers[0])], &id);
      check_failure(rc, nullptr);
      if (rc == 0) return id;
    }
    static const int32_t kRaw[] = {0, 1, 2, -4, -5, 0x68030003, 0x60030000, 0x7FFFFFFF};
    return kRaw[how % 8];
  }

  void invoke_member(vq_object* obj, uint8_t how) {
    const int32_t dispid = dispid_for(obj, how);
    const int32_t flags = byte() % 16;
    const size_t nargs = byte() % 5;
    vq_value args[4];
    for (size_t i = 0; i < nargs; ++i) args[i] = argument();
    // A Variant field keeps an object let into it, so an object let into a field of its
    // own (or of an object it holds) would make a cycle only the host could break. The
    // value of a let is therefore always a fresh object, which the program cannot reach
    // before it is stored.
    if ((flags & VQ_LET) != 0 && nargs > 0 && args[nargs - 1].kind == VQ_OBJECT &&
        args[nargs - 1].obj != nullptr) {
      vq_release(args[nargs - 1].obj);
      args[nargs - 1].obj = nullptr;
      const int32_t rc = vq_create(kClasses[byte() % 9], &args[nargs - 1].obj);
      check_failure(rc, nullptr);
    }
    vq_value result;
    std::memset(&result, 0x5A, sizeof result);  // the call must overwrite it
    if (kTrace) {
      std::fprintf(stderr, "invoke %p dispid %d flags %d args", static_cast<void*>(obj), dispid, flags);
      for (size_t i = 0; i < nargs; ++i) {
        std::fprintf(stderr, " [%d %lld %p %.40s]", args[i].kind, static_cast<long long>(args[i].i),
                     static_cast<void*>(args[i].obj), args[i].kind == VQ_TEXT && args[i].text ? args[i].text : "");
      }
    }
    const int32_t rc = vq_invoke(obj, dispid, flags, nargs ? args : nullptr, nargs, &result);
    if (kTrace) std::fprintf(stderr, " -> %d kind %d %p\n", rc, result.kind, rc == 0 ? static_cast<void*>(result.obj) : nullptr);
    check_failure(rc, &result);
    for (size_t i = 0; i < nargs; ++i) vq_value_clear(&args[i]);
    if (rc == 0 && result.kind == VQ_OBJECT && result.obj != nullptr && (byte() & 1)) {
      store(result.obj);  // kept: enumerators, records, collections
    } else {
      vq_value_clear(&result);
    }
  }

  void clear_true(vq_object* obj) {
    vq_value yes{};
    yes.kind = VQ_BOOLEAN;
    yes.i = -1;
    vq_value result;
    const int32_t rc = vq_invoke(obj, dispid_for(obj, 5), VQ_METHOD, &yes, 1, &result);
    check_failure(rc, &result);
    vq_value_clear(&result);
  }

  void advise(vq_object* obj, uint8_t how) {
    const int free_sink = how % kSinks;
    if (sinks_[free_sink] != nullptr) return;
    auto* sink = static_cast<Sink*>(std::malloc(sizeof(Sink)));
    *sink = Sink{this, obj, obj, 0, byte(), byte(), 0};
    const int32_t rc = vq_advise(
        obj,
        [](void* context, vq_object* source, int32_t dispid) {
          auto* s = static_cast<Sink*>(context);
          s->program->on_event(s, source, dispid);
        },
        sink, &sink->cookie);
    check_failure(rc, nullptr);
    if (rc != 0) {
      std::free(sink);
      return;
    }
    vq_addref(obj);
    sinks_[free_sink] = sink;
  }

  void drop_sink(int i) {
    if (sinks_[i]->source != nullptr) vq_release(sinks_[i]->source);
    std::free(sinks_[i]);
    sinks_[i] = nullptr;
  }

  void step() {
    switch (byte() % 12) {
      case 0: {
        vq_object* obj = reinterpret_cast<vq_object*>(1);
        const int32_t rc = vq_create(kClasses[byte() % (sizeof kClasses / sizeof kClasses[0])], &obj);
        check_failure(rc, nullptr);
        if (rc != 0 && obj != nullptr) violation("a failed create left an object", rc);
        if (kTrace) std::fprintf(stderr, "create -> %d %p\n", rc, static_cast<void*>(obj));
        if (rc == 0) store(obj);
        break;
      }
      case 1:
      case 2:
      case 3: {
        vq_object* obj = slot();
        invoke_member(obj, byte());
        break;
      }
      case 4: {  // one step of an enumerator, or a whole walk
        vq_object* obj = slot();
        if (obj != nullptr) vq_addref(obj);  // a member stored over its slot must not end it
        const int steps = (byte() % 4) + 1;
        for (int i = 0; i < steps; ++i) {
          vq_value member;
          const int32_t rc = vq_enum_next(obj, &member);
          if (kTrace) {
            std::fprintf(stderr, "next %p -> %d kind %d %p\n", static_cast<void*>(obj), rc, member.kind,
                         rc == 1 ? static_cast<void*>(member.obj) : nullptr);
          }
          if (rc != 0 && rc != 1) check_failure(rc, &member);
          if (rc == 1 && member.kind == VQ_OBJECT && member.obj != nullptr && (byte() & 1)) {
            store(member.obj);
          } else if (rc == 1) {
            vq_value_clear(&member);
          }
          if (rc != 1) break;
        }
        if (obj != nullptr) vq_release(obj);
        break;
      }
      case 5: {
        vq_object*& s = slot();
        if (s != nullptr) vq_release(s);
        s = nullptr;
        break;
      }
      case 6: {
        vq_object* obj = slot();
        if (obj != nullptr) vq_addref(obj);
        store(obj);
        break;
      }
      case 7: {
        vq_object* obj = slot();
        advise(obj, byte());
        break;
      }
      case 8: {  // unadvise by a known or a made-up cookie
        const uint8_t which = byte();
        Sink* sink = sinks_[which % kSinks];
        vq_object* obj = sink != nullptr && sink->source != nullptr ? sink->source : slot();
        const int32_t rc = vq_unadvise(obj, sink != nullptr && (which & 0x80) ? sink->cookie : u32());
        check_failure(rc, nullptr);
        if (rc == 0 && sink != nullptr && (which & 0x80)) drop_sink(which % kSinks);
        break;
      }
      case 9:
        clear_true(slot());
        break;
      case 10: {
        vq_object* obj = slot();
        int32_t accessors = 0;
        int32_t params = 0;
        const int32_t rc = vq_member_info(obj, dispid_for(obj, byte()), &accessors, &params);
        check_failure(rc, nullptr);
        break;
      }
      default: {  // a class object by identifier, asked to make an instance
        const uint8_t n = byte() % 11;  // 1 to 9 are the classes
        vq_guid clsid{0x6B1E2A40u + n, 0x3C5D, 0x4F21,
                      {0x9A, 0x1B, 0x52, 0x7E, 0x0C, 0x44, 0xD1, static_cast<uint8_t>(0x10 + n)}};
        vq_object* factory = nullptr;
        const int32_t rc = DllGetClassObject(&clsid, nullptr, &factory);
        check_failure(rc, nullptr);
        if (rc == 0) {
          vq_value made;
          const int32_t made_rc = vq_invoke(factory, 1, VQ_METHOD, nullptr, 0, &made);
          check_failure(made_rc, &made);
          vq_release(factory);
          if (made_rc == 0 && made.kind == VQ_OBJECT && made.obj != nullptr) {
            store(made.obj);
          } else {
            vq_value_clear(&made);
          }
        }
      }
    }
  }

  void finish() {
    for (int i = 0; i < kSinks; ++i) {
      if (sinks_[i] != nullptr) drop_sink(i);
    }
    for (vq_object*& s : slots_) {
      if (s != nullptr) vq_release(s);
      s = nullptr;
    }
    if (DllCanUnloadNow() != 0) violation("objects left alive after the program released all", 0);
  }

  const uint8_t* data_;
  size_t size_;
  size_t pos_ = 0;
  int reentry_ = 0;
  vq_object* slots_[kSlots] = {};
  Sink* sinks_[kSinks] = {};
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const bool once = [] {
    vexqom::diag::set_library_file_override("/tmp/vexqom-fuzz/libvexqom_PLUMEK2.so");
    return true;
  }();
  (void)once;
  Program(data, size).run();
  return 0;
}
