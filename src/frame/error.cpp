// Error: standard descriptions and the mapping of foreign exceptions.
#include "vexqom/error.h"

#include <new>
#include <utility>

namespace vexqom {

namespace {
// Used directly by the constructors so that errors raised during static
// initialisation of other units never see an unconstructed kDefaultErrorSource.
constexpr TextView kSourceName = u"vexqom_PLUMEK2";
}  // namespace

const Text kDefaultErrorSource{kSourceName};

Text standard_description(int32_t number) {
  static constexpr std::pair<int32_t, const char16_t*> kDescriptions[] = {
      {errc::kInvalidProcedureCall, u"Invalid procedure call or argument"},
      {errc::kOverflow, u"Overflow"},
      {errc::kOutOfMemory, u"Out of memory"},
      {errc::kSubscriptOutOfRange, u"Subscript out of range"},
      {errc::kTypeMismatch, u"Type mismatch"},
      {errc::kFileNotFound, u"File not found"},
      {errc::kPathFileAccess, u"Path/File access error"},
      {errc::kPathNotFound, u"Path not found"},
      {errc::kObjectNotSet, u"Object variable or With block variable not set"},
      {errc::kInvalidUseOfNull, u"Invalid use of Null"},
      {errc::kDuplicateKey, u"This key is already associated with an element of this collection"},
      {errc::kMemberNotFound, u"Member not found"},
      {errc::kBadParamCount, u"Invalid number of parameters"},
      {errc::kParamNotOptional, u"Parameter not optional"},
      {errc::kNoInterface, u"No such interface supported"},
      {errc::kClassNotRegistered, u"Class not registered"},
      {errc::kInvalidArgument, u"The parameter is incorrect"},
  };
  for (const auto& [known, description] : kDescriptions) {
    if (known == number) return Text(description);
  }
  return Text();
}

Error::Error(int32_t number) : Error(number, Text(kSourceName), standard_description(number)) {}

Error::Error(int32_t number, Text description)
    : Error(number, Text(kSourceName), std::move(description)) {}

Error::Error(int32_t number, Text source, Text description)
    : number_(number),
      source_(std::move(source)),
      description_(std::move(description)),
      what_(to_utf8(description_)) {}

const char* Error::what() const noexcept { return what_.c_str(); }

Error current_error() {
  if (!std::current_exception()) return Error(errc::kInvalidProcedureCall);
  try {
    throw;
  } catch (const Error& e) {
    return e;
  } catch (const std::bad_alloc&) {
    return Error(errc::kOutOfMemory);
  } catch (const std::exception& e) {
    return Error(errc::kInvalidProcedureCall, from_utf8(e.what()));
  } catch (...) {
    return Error(errc::kInvalidProcedureCall);
  }
}

}  // namespace vexqom
