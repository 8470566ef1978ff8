// A hook through which tests see every XML document a record or collection writes.
// Unset (the default) it costs one relaxed atomic load per document.
#pragma once

#include <atomic>
#include <string>

#include "vexqom/text.h"

namespace vexqom {

using DocumentObserver = void (*)(const char* form, const Text& xml);

namespace detail {
extern std::atomic<DocumentObserver> g_document_observer;
void notify_document_observer(DocumentObserver observer, const char* form, const Text& xml);
}  // namespace detail

// Installs `observer` (nullptr removes it) and returns the one it replaces. The observer
// may be called from any thread that writes XML, concurrently.
DocumentObserver set_document_observer(DocumentObserver observer);

// Hands a finished document to the observer, if any, and passes it through, so a writer
// can end with `return observed_document("vehicle", engine->get_XML());`.
inline Text observed_document(const char* form, Text xml) {
  if (const DocumentObserver observer =
          detail::g_document_observer.load(std::memory_order_acquire)) {
    detail::notify_document_observer(observer, form, xml);
  }
  return xml;
}

// The same for a document written as code-page bytes at the end of a parent's text, from
// `from` on; the observer sees it as Text.
inline void observe_bytes_from(const char* form, const std::string& text, size_t from) {
  if (const DocumentObserver observer =
          detail::g_document_observer.load(std::memory_order_acquire)) {
    detail::notify_document_observer(observer, form,
                                     from_code_page(std::string_view(text).substr(from)));
  }
}

}  // namespace vexqom
