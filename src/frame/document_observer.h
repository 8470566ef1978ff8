// A hook through which tests see every XML document a record or collection writes.
// Unset (the default) it costs one relaxed atomic load per document.
#pragma once

#include <atomic>
#include <string>
#include <string_view>

#include "frame/code_page.h"
#include "vexqom/text.h"

namespace vexqom {

using DocumentObserver = void (*)(const char* form, const Text& xml);

namespace detail {
inline std::atomic<DocumentObserver> g_document_observer{nullptr};
inline void notify_document_observer(DocumentObserver observer, const char* form,
                                     const Text& xml) {
  // Watching must never change what the writer does: the observer's failures stay there.
  try {
    observer(form, xml);
  } catch (...) {
  }
}
}  // namespace detail

// Installs `observer` (nullptr removes it) and returns the one it replaces. The observer
// may be called from any thread that writes XML, concurrently.
inline DocumentObserver set_document_observer(DocumentObserver observer) {
  return detail::g_document_observer.exchange(observer, std::memory_order_acq_rel);
}

// Hands a finished document to the observer, if any: as Text, or as the code-page bytes
// it was written in.
inline void observe_document(const char* form, TextView xml) {
  if (const DocumentObserver observer =
          detail::g_document_observer.load(std::memory_order_acquire)) {
    detail::notify_document_observer(observer, form, Text(xml));
  }
}
inline void observe_bytes(const char* form, std::string_view bytes) {
  if (const DocumentObserver observer =
          detail::g_document_observer.load(std::memory_order_acquire)) {
    detail::notify_document_observer(observer, form, from_code_page(bytes));
  }
}

}  // namespace vexqom
