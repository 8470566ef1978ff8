#include "frame/CString.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <functional>

#include "frame/class_info.h"
#include "vexqom/error.h"

namespace vexqom {

namespace {

[[noreturn]] void raise_invalid_length() {
  throw Error(errc::kInvalidProcedureCall, u"CString", u"Invalid length");
}

[[noreturn]] void raise_invalid_start() {
  throw Error(errc::kInvalidProcedureCall, u"CString", u"Invalid starting position");
}

// Lengths are Longs; anything that would not fit is an overflow, as Long arithmetic is.
int32_t checked_length(size_t n) {
  if (n > static_cast<size_t>(INT32_MAX)) throw Error(errc::kOverflow);
  return static_cast<int32_t>(n);
}

int32_t checked_sum(int32_t a, size_t b) {
  if (b > static_cast<size_t>(INT32_MAX - a)) throw Error(errc::kOverflow);
  return a + static_cast<int32_t>(b);
}

std::string variant_bytes(const Variant& v) { return to_code_page(to_text(v)); }

struct Slice {
  int32_t start0;  // 0-based first byte
  int32_t count;   // <= 0: nothing
};

Slice left_slice(int32_t numChars, int32_t length) {
  if (numChars < 0) raise_invalid_length();
  return {0, std::min(numChars, length)};
}

Slice right_slice(int32_t numChars, int32_t length) {
  if (numChars < 0) raise_invalid_length();
  const int32_t n = std::min(numChars, length);
  return {length - n, n};
}

Slice mid_slice(int32_t startPos, std::optional<int32_t> numChars, int32_t length) {
  if (numChars && *numChars < 0) raise_invalid_length();
  if (startPos < 1) raise_invalid_start();
  if (startPos > length) return {0, 0};
  // 64-bit: startPos + n can pass the Long range.
  int64_t n = numChars ? *numChars : int64_t{length} - startPos + 1;
  if (int64_t{startPos} + n > length) n = int64_t{length} - startPos + 1;
  return {startPos - 1, static_cast<int32_t>(n)};
}

// The slice cut to the value's length: a shorter value writes fewer bytes. Right keeps
// its slice flush with the end.
Slice cut_to(Slice sl, size_t valueSize, bool alignEnd) {
  const int32_t n =
      static_cast<int32_t>(std::min<int64_t>(sl.count, static_cast<int64_t>(valueSize)));
  return {alignEnd ? sl.start0 + sl.count - n : sl.start0, n};
}

Ref<CString> slice_copy(const CString& s, Slice sl) {
  Ref<CString> out = create<CString>();
  if (sl.count > 0) out->SetFromPointer(s.bytes().data() + sl.start0, sl.count);
  return out;
}

// Overwrites in place; the length never changes.
void overwrite(char* data, Slice sl, std::string_view value, bool alignEnd = false) {
  const Slice t = cut_to(sl, value.size(), alignEnd);
  if (t.count > 0) std::memmove(data + t.start0, value.data(), static_cast<size_t>(t.count));
}

}  // namespace

CString::CString() { SetBufferSize(kInitialBufferSize); }

const ClassInfo& CString::class_info() const { return private_class_info("CString"); }

void CString::SetBufferSize(int32_t newSize, bool clearIt) {
  ++generation_;
  if (newSize < 0) raise_invalid_length();
  // Bytes dropped by a shrink come back as zeros, as in a freshly allocated buffer.
  const size_t kept = static_cast<size_t>(newSize) + 1;  // with the spare byte for a zero
  if (data_.size() > kept) data_.resize(kept);
  if (clearIt) std::fill(data_.begin(), data_.end(), '\0');
  buffer_size_ = newSize;
  if (length_ > buffer_size_) length_ = buffer_size_;
}

void CString::ensure_size(int32_t needed, Fill fill) {
  if (needed > buffer_size_) SetBufferSize(needed);
  materialize(static_cast<size_t>(needed), fill);
}

void CString::materialize(size_t count, Fill fill) {
  if (count <= data_.size()) return;
  // Geometric growth of the storage, starting at a size that holds a typical record in
  // one allocation; the reported size stays exact-fit.
  constexpr size_t kFirstStorage = 1024;
  if (count > data_.capacity()) {
    data_.reserve(std::max({count, data_.capacity() * 2, kFirstStorage}));
  }
  if (fill == Fill::kOverwritten) {
    data_.resize_for_overwrite(count);
  } else {
    data_.resize(count);
  }
}

Text CString::get_Value() const { return from_code_page(bytes()); }

void CString::put_Value(TextView newValue) {
  // Converted straight into the storage: no second copy of a large text.
  ++generation_;
  const int32_t count = checked_length(code_page_size(newValue));
  ensure_size(count, Fill::kOverwritten);
  encode_code_page(newValue, data_.data());
  length_ = count;
}

const char* CString::StrPtr() {
  materialize(static_cast<size_t>(length_) + 1);
  data_[static_cast<size_t>(length_)] = '\0';
  return data_.data();
}

void CString::put_Length(int32_t newLength) {
  ++generation_;
  if (newLength < 0) raise_invalid_length();
  ensure_size(newLength);
  if (newLength > length_) {
    std::memset(data_.data() + length_, ' ', static_cast<size_t>(newLength - length_));
  }
  length_ = newLength;
}

Ref<CString> CString::Copy() {
  StrPtr();
  Ref<CString> copy = create<CString>();
  copy->SetFromPointer(data_.data(), length_);
  return copy;
}

void CString::SetFromPointer(const void* source, int32_t count) {
  ++generation_;
  if (count < 0) raise_invalid_length();
  const char* src = static_cast<const char*>(source);
  // The source may lie inside this buffer; find it again if growing moves the bytes.
  const bool inside = count > 0 && !std::less<const char*>()(src, data_.data()) &&
                      std::less<const char*>()(src, data_.data() + data_.size());
  const size_t offset = inside ? static_cast<size_t>(src - data_.data()) : 0;
  ensure_size(count);
  if (inside) src = data_.data() + offset;
  if (count > 0) std::memmove(data_.data(), src, static_cast<size_t>(count));
  length_ = count;
}

// ---- slices ----

Ref<CString> CString::get_Left(int32_t numChars) const {
  return slice_copy(*this, left_slice(numChars, length_));
}

void CString::put_Left(int32_t numChars, const Variant& newValue) {
  ++generation_;
  const Slice sl = left_slice(numChars, length_);
  overwrite(data_.data(), sl, variant_bytes(newValue));
}

void CString::putref_Left(int32_t numChars, const CString& newValue) {
  ++generation_;
  overwrite(data_.data(), left_slice(numChars, length_), newValue.bytes());
}

Ref<CString> CString::get_Right(int32_t numChars) const {
  return slice_copy(*this, right_slice(numChars, length_));
}

void CString::put_Right(int32_t numChars, const Variant& newValue) {
  ++generation_;
  const Slice sl = right_slice(numChars, length_);
  overwrite(data_.data(), sl, variant_bytes(newValue), true);
}

void CString::putref_Right(int32_t numChars, const CString& newValue) {
  ++generation_;
  overwrite(data_.data(), right_slice(numChars, length_), newValue.bytes(), true);
}

Ref<CString> CString::get_Mid(int32_t startPos, std::optional<int32_t> numChars) const {
  return slice_copy(*this, mid_slice(startPos, numChars, length_));
}

void CString::put_Mid(int32_t startPos, std::optional<int32_t> numChars, const Variant& newValue) {
  ++generation_;
  const Slice sl = mid_slice(startPos, numChars, length_);
  overwrite(data_.data(), sl, variant_bytes(newValue));
}

void CString::putref_Mid(int32_t startPos, std::optional<int32_t> numChars,
                         const CString& newValue) {
  ++generation_;
  overwrite(data_.data(), mid_slice(startPos, numChars, length_), newValue.bytes());
}

// ---- single bytes ----

int16_t CString::Asc() const {
  return length_ == 0 ? int16_t{-1} : static_cast<int16_t>(static_cast<uint8_t>(data_[0]));
}

int16_t CString::get_Char(int32_t index) const {
  if (index < 1 || index > length_) return -1;
  return static_cast<uint8_t>(data_[static_cast<size_t>(index - 1)]);
}

void CString::put_Char(int32_t index, uint8_t newValue) {
  ++generation_;
  if (index >= 1 && index <= length_) {
    data_[static_cast<size_t>(index - 1)] = static_cast<char>(newValue);
  }
}

// ---- searching ----

int32_t CString::Instr(const Variant& search, int32_t start) const {
  if (start < 1) throw Error(errc::kSubscriptOutOfRange);
  return InstrBytes(variant_bytes(search), start);
}

int32_t CString::Instr(const CString& search, int32_t start) const {
  return InstrBytes(search.bytes(), start);
}

int32_t CString::InstrBytes(std::string_view pattern, int32_t start) const {
  if (start < 1) throw Error(errc::kSubscriptOutOfRange);
  if (pattern.empty()) return start;
  const size_t pos = bytes().find(pattern, static_cast<size_t>(start - 1));
  return pos == std::string_view::npos ? 0 : static_cast<int32_t>(pos + 1);
}

int32_t CString::Find(const Text& search, std::optional<int32_t> startPos) {
  // The first occurrence at or after the start, as a Boyer-Moore-Horspool scan finds it.
  if (search.empty()) return 0;
  const std::string pattern = to_code_page(search);
  const size_t start = !startPos || *startPos < 1 ? 0 : static_cast<size_t>(*startPos) - 1;
  if (start > bytes().size()) return 0;
  const std::string_view text = bytes().substr(start);
  const auto at = std::search(text.begin(), text.end(),
                              std::boyer_moore_horspool_searcher(pattern.begin(), pattern.end()));
  return at == text.end() ? 0 : static_cast<int32_t>(start + (at - text.begin()) + 1);
}

// ---- case and order ----

// ASCII letters only: the buffer holds code-page bytes.
CString& CString::map_letters(char from, char to) {
  ++generation_;
  for (int32_t i = 0; i < length_; ++i) {
    char& c = data_[static_cast<size_t>(i)];
    if (c >= from && c <= from + 25) c = static_cast<char>(c - from + to);
  }
  return *this;
}

CString& CString::Ucase() { return map_letters('a', 'A'); }

CString& CString::LCase() { return map_letters('A', 'a'); }

CString& CString::ReverseStr() {
  ++generation_;
  std::reverse(data_.begin(), data_.begin() + length_);
  return *this;
}

// ---- appending ----

CString& CString::Append(const Variant& arg) {
  if (arg.is_object()) {
    if (const auto* other = dynamic_cast<const CString*>(arg.object().get())) {
      return Append(*other);
    }
  }
  return Append(TextView(to_text(arg)));
}

CString& CString::Append(TextView text) {
  if (text.empty()) return *this;
  return AppendBytes(to_code_page(text));
}

CString& CString::Append(const CString& other) { return AppendBytes(other.bytes()); }

char* CString::AppendSpace(size_t count) {
  ++generation_;
  const int32_t newLength = checked_sum(length_, count);
  ensure_size(newLength, Fill::kOverwritten);  // the caller writes every new byte
  char* at = data_.data() + length_;
  length_ = newLength;
  return at;
}

CString& CString::AppendBytes(std::string_view bytes_in) {
  ++generation_;
  if (bytes_in.empty()) return *this;
  const int32_t newLength = checked_sum(length_, bytes_in.size());
  const char* src = bytes_in.data();
  // Appending this buffer (or part of it) to itself: growing may move the source.
  const bool inside = !std::less<const char*>()(src, data_.data()) &&
                      std::less<const char*>()(src, data_.data() + data_.size());
  const size_t offset = inside ? static_cast<size_t>(src - data_.data()) : 0;
  ensure_size(newLength);
  if (inside) src = data_.data() + offset;
  std::memmove(data_.data() + length_, src, bytes_in.size());
  length_ = newLength;
  return *this;
}

// ---- files ----

void CString::WriteToFile(std::FILE* file, bool prefixLength) {
  if (file == nullptr) throw Error(errc::kPathFileAccess);
  if (prefixLength) {
    const uint32_t v = static_cast<uint32_t>(length_);
    const unsigned char le[4] = {
        static_cast<unsigned char>(v), static_cast<unsigned char>(v >> 8),
        static_cast<unsigned char>(v >> 16), static_cast<unsigned char>(v >> 24)};
    if (std::fwrite(le, 1, 4, file) != 4) throw Error(errc::kPathFileAccess);
  }
  // The spare byte after the text goes out too, so a reader gets its zero back.
  const size_t n = static_cast<size_t>(length_) + 1;
  materialize(n);
  if (std::fwrite(data_.data(), 1, n, file) != n) throw Error(errc::kPathFileAccess);
}

void CString::ReadFromFile(std::FILE* file, bool prefixLength) {
  ++generation_;
  if (file == nullptr) throw Error(errc::kPathFileAccess);
  int32_t newLength = length_;
  if (prefixLength) {
    unsigned char le[4];
    if (std::fread(le, 1, 4, file) != 4) throw Error(errc::kPathFileAccess);
    newLength = static_cast<int32_t>(uint32_t{le[0]} | uint32_t{le[1]} << 8 |
                                     uint32_t{le[2]} << 16 | uint32_t{le[3]} << 24);
    if (newLength < 0) raise_invalid_length();
  }
  // Read into a side buffer in pieces: a failed read leaves this buffer as it was, and a
  // damaged length prefix costs no more memory than the file really holds.
  const size_t want = static_cast<size_t>(newLength) + 1;
  std::string in;
  constexpr size_t kPiece = size_t{1} << 16;
  while (in.size() < want) {
    const size_t chunk = std::min(kPiece, want - in.size());
    const size_t old = in.size();
    in.resize(old + chunk);
    if (std::fread(in.data() + old, 1, chunk, file) != chunk) throw Error(errc::kPathFileAccess);
  }
  ensure_size(newLength);
  materialize(want);
  std::memcpy(data_.data(), in.data(), want);
  length_ = newLength;
}

int32_t CString::TrimToNull() {
  ++generation_;
  // Past the stored bytes the buffer holds zeros.
  const void* zero = data_.empty() ? nullptr : std::memchr(data_.data(), 0, data_.size());
  if (zero != nullptr) {
    length_ = static_cast<int32_t>(static_cast<const char*>(zero) - data_.data());
  } else {
    length_ = std::min(static_cast<int32_t>(data_.size()), buffer_size_);
  }
  return length_;
}

}  // namespace vexqom
