// CString: a growable buffer of single-byte characters with a current length.
//
// Text enters converted to the engine's code page (one byte per character) and leaves
// converted back. Positions are 1-based for callers.
//
// The reported buffer size follows the exact-fit rule (it becomes exactly the length
// needed when a write overflows it), while the storage underneath grows geometrically,
// so appending n pieces costs O(total bytes), not O(n * total).
//
// Errors are raised directly (no handler, nothing logged): number 5 with source
// "CString" and description "Invalid length" or "Invalid starting position".
#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "frame/code_page.h"
#include "frame/byte_storage.h"
#include "vexqom/error.h"
#include "vexqom/object.h"
#include "vexqom/text.h"
#include "vexqom/variant.h"

namespace vexqom {

class CString : public Object {
 public:
  static constexpr int32_t kInitialBufferSize = 2048;

  CString();  // buffer size 2048, length 0
  const ClassInfo& class_info() const override;

  void SetBufferSize(int32_t newSize, bool clearIt = false);
  int32_t buffer_size() const { return buffer_size_; }  // the reported (exact-fit) size

  Text get_Value() const;
  void put_Value(TextView newValue);

  // Writes a zero byte at index length and returns the address of the first byte;
  // valid until the next operation that grows the buffer.
  const char* StrPtr();

  int32_t get_Length() const { return length_; }
  void put_Length(int32_t newLength);

  void Clear() {
    ++generation_;
    length_ = 0;
  }
  // Changes whenever the bytes or the length may have changed, so that what was learnt
  // about the text (an index of its tags) can tell when it is out of date.
  uint64_t generation() const { return generation_; }
  Ref<CString> Copy();

  Ref<CString> get_Left(int32_t numChars) const;
  void put_Left(int32_t numChars, const Variant& newValue);
  void putref_Left(int32_t numChars, const CString& newValue);
  Ref<CString> get_Right(int32_t numChars) const;
  void put_Right(int32_t numChars, const Variant& newValue);
  void putref_Right(int32_t numChars, const CString& newValue);
  Ref<CString> get_Mid(int32_t startPos, std::optional<int32_t> numChars = std::nullopt) const;
  void put_Mid(int32_t startPos, std::optional<int32_t> numChars, const Variant& newValue);
  void putref_Mid(int32_t startPos, std::optional<int32_t> numChars, const CString& newValue);

  int16_t Asc() const;  // first byte 0..255, -1 when empty
  // Byte at 1-based index; -1 (a value a byte cannot hold) outside 1..length.
  int16_t get_Char(int32_t index) const;
  void put_Char(int32_t index, uint8_t newValue);

  // 1-based position of the first exact occurrence at or after start; 0 when none;
  // the start itself for an empty pattern. Start below 1 raises 9.
  int32_t Instr(const Variant& search, int32_t start) const;  // Text (or number) search
  int32_t Instr(const CString& search, int32_t start) const;
  int32_t InstrBytes(std::string_view pattern, int32_t start) const;

  CString& Ucase();
  CString& LCase();
  CString& ReverseStr();

  CString& Append(const Variant& arg);  // Text, number (its text form) or CString object
  CString& Append(TextView text);
  CString& Append(const Text& text) { return Append(TextView(text)); }
  CString& Append(const char16_t* text) { return Append(TextView(text)); }
  CString& Append(const CString& other);
  CString& AppendBytes(std::string_view bytes);
  // Lengthens the text by count bytes and returns where they start, for a writer that
  // fills every one of them (before anything else touches the buffer).
  char* AppendSpace(size_t count);

  // The first occurrence at or after StartPos (missing or below 1: 1); 0 for none and
  // for an empty Search.
  int32_t Find(const Text& search, std::optional<int32_t> startPos = std::nullopt);

  // Binary file members on a file the caller opened; errors pass on (error 75).
  void WriteToFile(std::FILE* file, bool prefixLength = false);
  void ReadFromFile(std::FILE* file, bool prefixLength = false);

  int32_t TrimToNull();

  // Fills the buffer from memory (count bytes); negative count raises "Invalid length".
  void SetFromPointer(const void* source, int32_t count);

  // The bytes in use, for searches that work in place.
  std::string_view bytes() const { return {data_.data(), static_cast<size_t>(length_)}; }
  // Mutable access to the bytes (index 0 .. buffer size); for routines that write into it.
  char* data() {
    ++generation_;
    materialize(static_cast<size_t>(buffer_size_) + 1);
    return data_.data();
  }

 private:
  CString& map_letters(char from, char to);  // from..from+25 become to..to+25
  // Whether bytes newly stored are zeroed, or left for the caller who writes all of them.
  enum class Fill : bool { kZeros, kOverwritten };
  // Exact-fit reported size, geometric storage.
  void ensure_size(int32_t needed, Fill fill = Fill::kZeros);
  void materialize(size_t count, Fill fill = Fill::kZeros);  // stores the first count bytes

  // The first bytes of the buffer; the rest, up to the reported size and its spare byte,
  // are zeros not yet stored, so a fresh buffer costs no allocation. Holds at least
  // length_ bytes.
  ByteStorage data_;
  int32_t buffer_size_ = 0;
  int32_t length_ = 0;
  uint64_t generation_ = 0;
};

}  // namespace vexqom
