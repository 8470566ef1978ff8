// TagFilter: a pattern it rules out never occurs in the text; it rules out most absent
// names; texts that defeat it rule out nothing.
#include "xml/tag_filter.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

#include "support/random_text.h"
#include "xml/byte_search.h"

namespace vexqom {
namespace {

TEST(TagFilterTest, RulesOutOnlyPatternsTheTextDoesNotHold) {
  std::mt19937 random(5);
  auto random_text = [&](size_t size) { return testing::random_text(random, "<>/abAB", size); };
  size_t ruled_out = 0;
  size_t absent = 0;
  for (int round = 0; round < 300; ++round) {
    const std::string text = random_text(random() % 300);
    TagFilter filter;
    filter.build(text, 1);
    ASSERT_TRUE(filter.built_for(1));
    EXPECT_FALSE(filter.built_for(2));
    for (int k = 0; k < 50; ++k) {
      const std::string pattern = "<" + random_text(random() % 6) + ">";
      const bool occurs = find_bytes(text, pattern) != std::string_view::npos;
      const bool may = filter.may_hold(pattern);
      ASSERT_TRUE(may || !occurs) << "text \"" << text << "\" pattern \"" << pattern << "\"";
      absent += !occurs;
      ruled_out += !may;
    }
  }
  EXPECT_GT(ruled_out, absent / 4);  // it does rule out absent names

  TagFilter filter;
  filter.build("<Item><a<b>x</b></Item>", 7);
  EXPECT_TRUE(filter.may_hold("<Item>"));
  EXPECT_TRUE(filter.may_hold("<a<b>"));  // the "<" at "a" closes at the same ">"
  EXPECT_TRUE(filter.may_hold("<b>"));
  EXPECT_TRUE(filter.may_hold("</Item>"));
  EXPECT_FALSE(filter.may_hold("<Price>"));
  EXPECT_FALSE(filter.may_hold("<Items>"));
  EXPECT_TRUE(filter.may_hold("<x>y>"));  // a name holding ">" is never ruled out
  EXPECT_TRUE(filter.may_hold("<Item a='1'"));
  filter.forget();
  EXPECT_FALSE(filter.built_for(7));

  filter.build(std::string(70, '<') + ">", 8);  // defeats the filter: rules out nothing
  EXPECT_TRUE(filter.may_hold("<Price>"));
}

}  // namespace
}  // namespace vexqom
