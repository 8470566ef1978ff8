// The engine's byte search reads sixteen bytes at a time: it must find what the standard
// search finds and never read past the text, which here ends where an unreadable page
// begins (a read beyond it is a crash, not a silent stray byte).
#include "xml/byte_search.h"

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstring>
#include <string>

namespace vexqom {
namespace {

TEST(ByteSearch, AgreesWithTheStandardSearchUpToAnUnreadablePage) {
  const size_t page = static_cast<size_t>(::sysconf(_SC_PAGESIZE));
  auto* pages = static_cast<char*>(
      ::mmap(nullptr, 2 * page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
  ASSERT_NE(pages, MAP_FAILED);
  ASSERT_EQ(::mprotect(pages + page, page, PROT_NONE), 0);
  for (size_t size = 0; size <= 80; ++size) {
    std::string bytes;
    for (size_t i = 0; i < size; ++i) bytes += "<a>b</a>"[i % 8];
    char* text = pages + page - size;  // the last byte touches the unreadable page
    std::memcpy(text, bytes.data(), size);
    for (std::string_view pattern : {"</a>", "<a>b</", "a>b<", "</ab>"}) {
      for (size_t from = 0; from <= size; from += 3) {
        EXPECT_EQ(find_bytes({text, size}, pattern, from), bytes.find(pattern, from))
            << size << " " << pattern << " " << from;
      }
    }
  }
  ::munmap(pages, 2 * page);
}

}  // namespace
}  // namespace vexqom
