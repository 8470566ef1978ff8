// Summaries of a selection: the writer switches, status pruning, descriptions, groups.
#include <optional>

#include "collections/members.h"
#include "frame/diagnostics.h"
#include "frame/procedure.h"
#include "vexqom/ICatItemCol.h"

namespace vexqom {

namespace {

// A status of blanks only counts as none; a null status is never "none".
bool without_status(const Variant& member) {
  const Variant status = member_record<ICatItem>(member).get_ItemStatus();
  if (status.is_null()) return false;
  return trim_blanks(to_text(status)).empty();
}

}  // namespace

void ICatItemCol::Summarize(const Text& xsOption) {
  run_procedure(errors_, u"ICatItemCol | Summarize", Trace::Yes, [&](int& line) {
    line = 1;
    const Text option = upper_case(xsOption);
    auto& state = diag::thread_state();
    line = 2;
    if (option == u"SHOWXML") {
      state.XMLCompress = false;
      state.XMLZeroSuppress = false;
      return;
    }
    line = 3;
    if (option == u"HIDEXML") {
      state.XMLCompress = true;
      state.XMLZeroSuppress = true;
      return;
    }
    line = 4;
    // One pass removes exactly what restarting the walk after each removal would: every
    // member without status up to the first one that cannot be read, whose error is then
    // raised. Totals and the event are left alone.
    Collection& members = require_members();
    std::optional<Error> failure;
    members.remove_if([&](const Variant& member) {
      if (failure) return false;
      try {
        return without_status(member);
      } catch (const Error& e) {
        failure = e;
      } catch (...) {
        failure = current_error();
      }
      return false;
    });
    if (failure) throw *failure;
  });
}

Ref<Collection> ICatItemCol::GetDescriptions() {
  return run_procedure(errors_, u"ICatItemCol | GetDescriptions", Trace::Yes, [&](int& line) {
    line = 1;
    auto descriptions = create<Collection>();
    line = 2;
    const Collection& members = require_members();
    if (members.size() == 0) return descriptions;
    line = 3;
    for (size_t i = 0; i < members.size(); ++i) {
      // Suppressed: a description already present (457) or an unreadable member is
      // skipped; the first letter case seen stays. Most items repeat an earlier
      // description, so that is looked up first rather than refused with an exception.
      ignore_errors([&] {
        const Text description = member_record<ICatItem>(members.at(i)).get_Description();
        const Variant key(upper_case(description));
        if (descriptions->find(key) == nullptr) descriptions->Add(Variant(description), key);
      });
    }
    line = 4;
    return descriptions;
  });
}

int16_t ICatItemCol::GetItemGroup(const Text& xsDescription) {
  return run_procedure(errors_, u"ICatItemCol | GetItemGroup", Trace::Yes, [&](int& line) {
    line = 1;
    int16_t group = 0;
    line = 2;
    const Collection& members = require_members();
    if (members.size() == 0) return group;
    line = 3;
    const Text wanted = upper_case(xsDescription);
    for (size_t i = 0; i < members.size(); ++i) {
      line = 4;
      ICatItem& item = member_record<ICatItem>(members.at(i));
      if (upper_case(item.get_Description()) == wanted) {
        line = 5;
        group = item.get_ItemGroup();
        break;
      }
    }
    return group;
  });
}

}  // namespace vexqom
