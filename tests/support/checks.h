// What the C++ tests share: texts in UTF-8, two texts the library writes, what a call raises,
// and the thread's XML writer switches kept across a test.
#pragma once

#include <cstdint>
#include <string>

#include "frame/diagnostics.h"
#include "vexqom/error.h"
#include "vexqom/variant.h"

namespace vexqom::testing {

inline std::string u8(const Text& text) { return to_utf8(text); }

// The declaration the engine writes at the head of a document, and the description of
// error 91.
inline const std::string kDeclaration = "<?xml version=\"1.0\" encoding=\"UTF-8\" ?>";
inline const std::string kUnset = "Object variable or With block variable not set";

// The number of the error a call raises, or 0 when it raises none.
int32_t error_number_of(auto&& call) {
  try {
    call();
  } catch (const Error& e) {
    return e.number();
  }
  return 0;
}

// "number description" of the error a call raises, or "none".
std::string failure_of(auto&& call) {
  try {
    call();
  } catch (const Error& e) {
    return std::to_string(e.number()) + " " + to_utf8(e.description());
  }
  return "none";
}

// Keeps this thread's writer switches (Compress and ZeroSuppress) and puts them back when it
// goes, so a test may turn them, or create a selection (which turns them on), without
// changing what the next test sees.
class WriterSwitches {
 public:
  WriterSwitches() = default;
  explicit WriterSwitches(bool on) { set(on); }
  ~WriterSwitches() { set(compress_, zero_); }
  WriterSwitches(const WriterSwitches&) = delete;
  WriterSwitches& operator=(const WriterSwitches&) = delete;
  static void set(bool on) { set(on, on); }
  static void set(bool compress, bool zero) {
    diag::thread_state().XMLCompress = compress;
    diag::thread_state().XMLZeroSuppress = zero;
  }

 private:
  bool compress_ = diag::thread_state().XMLCompress;
  bool zero_ = diag::thread_state().XMLZeroSuppress;
};

}  // namespace vexqom::testing
