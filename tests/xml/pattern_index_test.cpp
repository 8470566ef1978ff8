// The learnt-occurrence search must answer exactly as a direct search does, for any order
// of questions, and forget what it learnt when the text or the pattern changes.
#include "xml/pattern_index.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

#include "xml/byte_search.h"
#include "xml/clsXML.h"

namespace vexqom {
namespace {

TEST(PatternIndex, AnswersAsTheDirectSearchInAnyOrder) {
  std::mt19937 rng(11);
  for (int round = 0; round < 300; ++round) {
    std::string text;
    const size_t n = rng() % 200;
    for (size_t i = 0; i < n; ++i) text += "<a/>"[rng() % 4];
    const std::string pattern = round % 3 == 0 ? "aa" : round % 3 == 1 ? "<a>" : "/";
    PatternIndex index;
    for (int q = 0; q < 40; ++q) {
      const size_t from = rng() % (n + 3);
      ASSERT_EQ(index.find(text, pattern, 1, from), find_bytes(text, pattern, from))
          << text << " " << pattern << " " << from;
    }
    // Another state of the text: nothing learnt before may be used.
    std::string changed = "<a>" + text;
    for (size_t from = 0; from < changed.size(); from += 7) {
      ASSERT_EQ(index.find(changed, pattern, 2, from), find_bytes(changed, pattern, from));
    }
    ASSERT_EQ(index.find(changed, "a", 2, 0), find_bytes(changed, "a", 0));
  }
}

// A large document that claims more elements than it holds: the numbered reads run past
// the last element, start over at the top and continue, just as in a small one.
TEST(PatternIndex, LargeDocumentReadsPastItsElementsLikeASmallOne) {
  const Text elements = u"<I>1</I><I>2</I><J>x</J>";
  const Text small_text = u"<L>" + elements + u"</L>";
  const Text large_text = u"<L>" + elements + Text(kIndexedSearchMinimum * 2, u' ') + u"</L>";
  Ref<clsXML> small_doc = create<clsXML>();
  small_doc->put_XML(small_text);
  Ref<clsXML> large_doc = create<clsXML>();
  large_doc->put_XML(large_text);
  std::vector<Text> seen;
  for (int16_t i = 1; i <= 9; ++i) {
    const Text a = small_doc->get_Block(u"I", i);
    EXPECT_EQ(large_doc->get_Block(u"I", i), a) << i;
    EXPECT_EQ(large_doc->get_Value(u"I", i), small_doc->get_Value(u"I", i)) << i;
    seen.push_back(a);
  }
  EXPECT_EQ(seen[0], u"<I>1</I>");
  EXPECT_EQ(seen[1], u"<I>2</I>");
  EXPECT_EQ(seen[2], u"");  // past the last: the memory is forgotten
  EXPECT_EQ(seen[3], u"<I>1</I>");  // too few end tags: from the top
  EXPECT_EQ(seen[4], u"<I>2</I>");
  // An edit changes the answers of the large document as of the small one.
  small_doc->put_Block(u"I", 1, u"<I>9</I><I>8</I>");
  large_doc->put_Block(u"I", 1, u"<I>9</I><I>8</I>");
  for (int16_t i = 1; i <= 5; ++i) {
    EXPECT_EQ(large_doc->get_Block(u"I", i), small_doc->get_Block(u"I", i)) << i;
  }
}

}  // namespace
}  // namespace vexqom
