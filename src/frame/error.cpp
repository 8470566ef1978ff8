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
  const char16_t* d = u"";
  switch (number) {
    case errc::kInvalidProcedureCall: d = u"Invalid procedure call or argument"; break;
    case errc::kOverflow: d = u"Overflow"; break;
    case errc::kOutOfMemory: d = u"Out of memory"; break;
    case errc::kSubscriptOutOfRange: d = u"Subscript out of range"; break;
    case errc::kTypeMismatch: d = u"Type mismatch"; break;
    case errc::kFileNotFound: d = u"File not found"; break;
    case errc::kPathFileAccess: d = u"Path/File access error"; break;
    case errc::kPathNotFound: d = u"Path not found"; break;
    case errc::kObjectNotSet: d = u"Object variable or With block variable not set"; break;
    case errc::kInvalidUseOfNull: d = u"Invalid use of Null"; break;
    case errc::kDuplicateKey:
      d = u"This key is already associated with an element of this collection";
      break;
    case errc::kMemberNotFound: d = u"Member not found"; break;
    case errc::kBadParamCount: d = u"Invalid number of parameters"; break;
    case errc::kParamNotOptional: d = u"Parameter not optional"; break;
    case errc::kNoInterface: d = u"No such interface supported"; break;
    case errc::kClassNotRegistered: d = u"Class not registered"; break;
    case errc::kInvalidArgument: d = u"The parameter is incorrect"; break;
    default: break;
  }
  return Text(d);
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
