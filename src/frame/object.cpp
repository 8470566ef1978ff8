// Object lifetime and the process-wide count of live objects.
#include "vexqom/object.h"

namespace vexqom {

namespace {
std::atomic<std::size_t> g_live{0};
}  // namespace

Object::Object() noexcept { g_live.fetch_add(1, std::memory_order_relaxed); }

Object::~Object() { g_live.fetch_sub(1, std::memory_order_relaxed); }

uint32_t Object::release() const noexcept {
  // acq_rel: the deleting thread must see every write made through other references.
  const uint32_t left = refs_.fetch_sub(1, std::memory_order_acq_rel) - 1;
  if (left == 0) delete this;
  return left;
}

std::size_t Object::live_count() noexcept { return g_live.load(std::memory_order_relaxed); }

}  // namespace vexqom
