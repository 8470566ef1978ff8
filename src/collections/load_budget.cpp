#include "collections/load_budget.h"

#include "vexqom/error.h"

namespace vexqom {

namespace {

struct Budget {
  bool open = false;
  size_t left = 0;
  size_t beyond_depth = 0;  // members beyond the text being read
};
thread_local Budget tls_budget;

}  // namespace

LoadBudget::LoadBudget() : outermost_(!tls_budget.open) {
  if (!outermost_) return;
  tls_budget = Budget{true, kBeyondText, 0};
}

LoadBudget::~LoadBudget() {
  if (outermost_) tls_budget = Budget{};
}

void LoadBudget::spend(bool beyond_text) {
  Budget& budget = tls_budget;
  if (!budget.open || (!beyond_text && budget.beyond_depth == 0)) return;
  if (budget.left == 0) throw Error(errc::kOutOfMemory);
  --budget.left;
}

LoadBudget::Beyond::Beyond(bool beyond_text) : counted_(beyond_text) {
  if (counted_) ++tls_budget.beyond_depth;
}

LoadBudget::Beyond::~Beyond() {
  if (counted_) --tls_budget.beyond_depth;
}

}  // namespace vexqom
