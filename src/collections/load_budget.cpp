#include "collections/load_budget.h"

#include "vexqom/error.h"

namespace vexqom {

namespace {

struct Budget {
  bool open = false;
  size_t left = 0;
};
thread_local Budget tls_budget;

}  // namespace

LoadBudget::LoadBudget(size_t text_size) : outermost_(!tls_budget.open) {
  if (!outermost_) return;
  tls_budget.open = true;
  tls_budget.left = kFixedMembers + text_size / kBytesPerMember;
}

LoadBudget::~LoadBudget() {
  if (outermost_) tls_budget = Budget{};
}

void LoadBudget::spend() {
  Budget& budget = tls_budget;
  if (!budget.open) return;
  if (budget.left == 0) throw Error(errc::kOutOfMemory);
  --budget.left;
}

}  // namespace vexqom
