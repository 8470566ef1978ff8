// prefer_large_pages advises exactly the whole 2 MB pages inside a large buffer, and
// nothing of a small one, as the kernel's own record of the mappings shows.
#include "frame/large_pages.h"

#include <gtest/gtest.h>

#if defined(__linux__)
#include <sys/mman.h>

#include <cstdint>
#include <fstream>
#include <sstream>
#include <string>

namespace vexqom {
namespace {

// Whether the mapping that holds address carries the huge-page advice ("hg").
bool advised(const void* address) {
  std::ifstream maps("/proc/self/smaps");
  const auto at = reinterpret_cast<std::uintptr_t>(address);
  std::string line;
  bool inside = false;
  while (std::getline(maps, line)) {
    std::uintptr_t from = 0;
    std::uintptr_t to = 0;
    char dash = 0;
    std::istringstream range(line);
    if (range >> std::hex >> from >> dash >> to && dash == '-') {
      inside = from <= at && at < to;
    } else if (inside && line.rfind("VmFlags:", 0) == 0) {
      return (line + " ").find(" hg ") != std::string::npos;
    }
  }
  return false;
}

TEST(LargePages, AdvisesTheWholeHugePagesOfLargeBuffersOnly) {
  if (!std::ifstream("/sys/kernel/mm/transparent_hugepage/enabled")) {
    GTEST_SKIP() << "this kernel has no transparent huge pages";
  }
  constexpr std::uintptr_t kHugePage = std::uintptr_t{2} << 20;
  constexpr size_t kMapped = 24u << 20;
  void* mapped = mmap(nullptr, kMapped, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  ASSERT_NE(mapped, MAP_FAILED);
  auto* base = static_cast<char*>(mapped);
  // A buffer starting just past a 2 MB boundary: its first partial huge page stays as it is.
  const std::uintptr_t boundary =
      (reinterpret_cast<std::uintptr_t>(base) + kHugePage - 1) & ~(kHugePage - 1);
  char* buffer = reinterpret_cast<char*>(boundary) + 4096;
  const size_t size = kLargePagesMinimum + 2 * kHugePage;
  prefer_large_pages(buffer, size);
  EXPECT_FALSE(advised(buffer));
  EXPECT_TRUE(advised(reinterpret_cast<char*>(boundary) + kHugePage));
  EXPECT_TRUE(advised(buffer + size - kHugePage));  // inside the last whole huge page
  EXPECT_FALSE(advised(buffer + size + kHugePage));  // past the buffer
  munmap(mapped, kMapped);

  void* small = mmap(nullptr, kLargePagesMinimum, PROT_READ | PROT_WRITE,
                     MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  ASSERT_NE(small, MAP_FAILED);
  prefer_large_pages(small, kLargePagesMinimum - 1);
  EXPECT_FALSE(advised(static_cast<char*>(small) + kLargePagesMinimum / 2));
  munmap(small, kLargePagesMinimum);
}

}  // namespace
}  // namespace vexqom
#endif
