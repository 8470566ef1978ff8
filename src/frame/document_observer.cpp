#include "frame/document_observer.h"

namespace vexqom {

namespace detail {

std::atomic<DocumentObserver> g_document_observer{nullptr};

void notify_document_observer(DocumentObserver observer, const char* form, const Text& xml) {
  // Watching must never change what the writer does: the observer's failures stay there.
  try {
    observer(form, xml);
  } catch (...) {
  }
}

}  // namespace detail

DocumentObserver set_document_observer(DocumentObserver observer) {
  return detail::g_document_observer.exchange(observer, std::memory_order_acq_rel);
}

}  // namespace vexqom
