// Blocks and the member count read without an engine, against a fresh engine asked the
// same things in the same order, on random texts full of near-miss tags.
#include "xml/block_sequence.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "collections/collection_xml.h"
#include "vexqom/error.h"
#include "xml/clsXML.h"

namespace vexqom {
namespace {

Text as_text(const std::string& bytes) { return from_code_page(bytes); }

TEST(BlockSequence, AnswersAsOneEngineAskedInTheSameOrder) {
  const std::vector<std::string> pieces{"<P>",  "</P>", "<P a='1'>", "<P/>", "/>", "<Pr>",
                                        "</Pr>", "x",   " ",         "<",    ">",  "<Count>2",
                                        "</Count>", "<P >", "\xe9"};
  std::mt19937 random(3);
  size_t found = 0;
  for (int round = 0; round < 3000; ++round) {
    std::string bytes;
    for (size_t i = random() % 30; i > 0; --i) bytes += pieces[random() % pieces.size()];
    Ref<clsXML> engine = create<clsXML>();
    engine->put_XML(as_text(bytes));
    BlockSequence blocks(bytes, u"P");
    // In turn most of the time, with repeats, jumps back and odd elements in between.
    int16_t element = 0;
    for (int ask = 0; ask < 6; ++ask) {
      const unsigned how = random() % 8;
      element = how < 5 ? static_cast<int16_t>(element + 1)
                        : how == 5 ? element : static_cast<int16_t>(random() % 5) - 1;
      const std::string expected(engine->get_Block_bytes(u"P", element));
      ASSERT_EQ(std::string(blocks.get(element)), expected)
          << "text \"" << bytes << "\" element " << element;
      found += !expected.empty();
    }
    int32_t expected_count = 0;
    int32_t count = 0;
    try {
      expected_count = read_member_count(*engine);
    } catch (const Error& e) {
      expected_count = -e.number();
    }
    try {
      count = read_member_count(std::string_view(bytes));
    } catch (const Error& e) {
      count = -e.number();
    }
    ASSERT_EQ(count, expected_count) << bytes;
  }
  EXPECT_GT(found, 3000u);
  BlockSequence nameless("<P>1</P>", u"");
  EXPECT_EQ(nameless.get(1), "");
}

}  // namespace
}  // namespace vexqom
