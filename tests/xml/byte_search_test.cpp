// find_bytes against the standard search: every start position of random texts over a
// small alphabet, so that the wide filters meet many near-matches and every loop bound.
#include "xml/byte_search.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

namespace vexqom {
namespace {

TEST(ByteSearchTest, AgreesWithTheStandardSearchAtEveryStart) {
  std::mt19937 random(11);
  auto random_text = [&](size_t size) {  // few letters: near-matches and matches are frequent
    std::string text(size, ' ');
    for (char& c : text) c = "<>/ab"[random() % 5];
    return text;
  };
  size_t found = 0;
  for (int round = 0; round < 400; ++round) {
    const std::string text = random_text(random() % 200);
    std::string pattern = random_text(1 + random() % 8);
    if (!text.empty() && round % 2 == 0) {  // a pattern taken from the text itself
      const size_t at = random() % text.size();
      pattern = text.substr(at, 1 + random() % 8);
    }
    for (size_t from = 0; from <= text.size() + 1; ++from) {
      const size_t expected = std::string_view(text).find(pattern, from);
      ASSERT_EQ(find_bytes(text, pattern, from), expected)
          << "text \"" << text << "\" pattern \"" << pattern << "\" from " << from;
      found += expected != std::string_view::npos;
    }
  }
  EXPECT_GT(found, 1000u);  // the patterns are found, not only missed
  EXPECT_EQ(find_bytes("abc", "", 1), 1u);
  EXPECT_EQ(find_bytes("abc", "", 4), std::string_view::npos);
}

}  // namespace
}  // namespace vexqom
