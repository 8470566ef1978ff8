// Error: the raised error every failing member delivers to its caller.
#pragma once

#include "vexqom/api.h"

#include <cstdint>
#include <exception>
#include <string>

#include "vexqom/text.h"

namespace vexqom {

namespace errc {
inline constexpr int32_t kInvalidProcedureCall = 5;
inline constexpr int32_t kOverflow = 6;
inline constexpr int32_t kOutOfMemory = 7;
inline constexpr int32_t kSubscriptOutOfRange = 9;
inline constexpr int32_t kTypeMismatch = 13;
inline constexpr int32_t kFileNotFound = 53;
inline constexpr int32_t kPathFileAccess = 75;
inline constexpr int32_t kPathNotFound = 76;
inline constexpr int32_t kObjectNotSet = 91;
inline constexpr int32_t kInvalidUseOfNull = 94;
inline constexpr int32_t kDuplicateKey = 457;
inline constexpr int32_t kDocumentError = -2147221504;        // 0x80040000
inline constexpr int32_t kMemberNotFound = -2147352573;       // 0x80020003
inline constexpr int32_t kBadParamCount = -2147352562;        // 0x8002000E
inline constexpr int32_t kParamNotOptional = -2147352561;     // 0x8002000F
inline constexpr int32_t kNoInterface = -2147467262;          // 0x80004002
inline constexpr int32_t kClassNotRegistered = -2147221164;   // 0x80040154
inline constexpr int32_t kInvalidArgument = -2147024809;      // 0x80070057
}  // namespace errc

// The library's default error source.
VEXQOM_API extern const Text kDefaultErrorSource;  // "vexqom_PLUMEK2"

// The fixed English description of a standard error number ("" if none).
VEXQOM_API Text standard_description(int32_t number);

class VEXQOM_API Error : public std::exception {
 public:
  // An error with the standard description and the default source.
  explicit Error(int32_t number);
  Error(int32_t number, Text description);
  Error(int32_t number, Text source, Text description);

  int32_t number() const noexcept { return number_; }
  const Text& source() const noexcept { return source_; }
  const Text& description() const noexcept { return description_; }

  const char* what() const noexcept override;

 private:
  int32_t number_;
  Text source_;
  Text description_;
  std::string what_;  // UTF-8 copy of the description
};

// The error state an object keeps: written only by its error handlers.
struct ErrorState {
  int32_t LastErrorNumber = 0;
  Text LastErrorMessage;
};

// Maps any exception in flight to an Error (bad_alloc -> 7, others -> 5).
VEXQOM_API Error current_error();

}  // namespace vexqom
