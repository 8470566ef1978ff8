// FirstValues: every value equals the engine's own first-element read, on random texts
// full of near-miss tags; the trace and failure behaviour is the engine reader's.
#include "xml/first_values.h"

#include <gtest/gtest.h>

#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "support/log_folder.h"
#include "support/random_text.h"
#include "vexqom/error.h"
#include "xml/block_sequence.h"
#include "xml/clsXML.h"

namespace vexqom {
namespace {

Ref<clsXML> loaded(const Text& text) {
  Ref<clsXML> engine = create<clsXML>();
  engine->put_XML(text);
  return engine;
}

Text as_text(const std::string& bytes) { return Text(bytes.begin(), bytes.end()); }

TEST(FirstValues, EqualTheEnginesFirstElementReadsOnRandomTexts) {
  static const ElementNames names{u"a", u"ab", u"b", u"ba", u"abc", u"Cost", u"Co"};
  const std::vector<TextView> asked{u"a", u"ab", u"b", u"ba", u"abc", u"Cost", u"Co"};
  // Fragments that make tags, near-miss tags, nested and unclosed ones, blanks, entities.
  const std::vector<std::string> pieces{"<",  ">",     "</", "a",   "b",      "c",     " ",
                                        "<a>", "</a>", "<ab>", "</ab>", "<a b>", "&amp;", "&lt;",
                                        "<Cost>", "</Cost>", "<Co", "st>", "/", "x"};
  std::mt19937 random(11);
  size_t present = 0;
  size_t blocks = 0;
  for (int round = 0; round < 2000; ++round) {
    std::string bytes;
    const size_t count = random() % 40;
    for (size_t i = 0; i < count; ++i) bytes += pieces[random() % pieces.size()];
    const Text text = as_text(bytes);
    Ref<clsXML> engine = loaded(text);
    const FirstValues values(*engine, names);
    const FirstValues engineless(bytes, names);  // the bytes alone, as records read them
    // Asked in the set's order on even rounds, shuffled on odd ones, some twice.
    std::vector<TextView> order = asked;
    if (round % 2 == 1) std::shuffle(order.begin(), order.end(), random);
    order.push_back(asked[random() % asked.size()]);
    for (TextView name : order) {
      const Text expected = loaded(text)->get_Value(name, 1);
      ASSERT_EQ(values.get(name), expected) << "text \"" << bytes << "\" name " << name.size();
      ASSERT_EQ(engineless.get(name), expected) << "text \"" << bytes << "\"";
      present += !expected.empty();
      const Text block = loaded(text)->get_Block(name, 1);
      ASSERT_EQ(as_text(std::string(BlockSequence(bytes, name).get(1))), block)
          << "text \"" << bytes << "\" block " << name.size();
      blocks += !block.empty();
    }
  }
  EXPECT_GT(present, 1000u);  // the texts do hold values, not only misses
  EXPECT_GT(blocks, 1000u);
}

TEST(FirstValues, ValuesAreTrimmedUnescapedAndNamesOutsideTheSetAskTheEngine) {
  static const ElementNames names{u"Location", u"Comment", u"Prices"};
  Ref<clsXML> engine = loaded(
      u"<Item><Comment>  Gap &amp; &lt;tip&gt;  </Comment><Location>A</Location>"
      u"<Prices><Location>B</Location></Prices><Other>o</Other><Other>p</Other></Item>");
  const FirstValues values(*engine, names);
  EXPECT_EQ(values.get(u"Comment"), u"Gap & <tip>");
  EXPECT_EQ(values.get(u"Location"), u"A");  // the first of two
  EXPECT_EQ(values.get(u"Prices"), u"<Location>B</Location>");  // XML stays as it is
  EXPECT_EQ(values.get(u"Other"), u"o");    // not in the set: the engine's search
  EXPECT_EQ(values.get(u"Missing"), u"");

  Ref<clsXML> empty = loaded(Text());
  EXPECT_EQ(FirstValues(*empty, names).get(u"Location"), u"");
  // Without an engine there is nobody to ask for other names: a programming error.
  EXPECT_THROW(FirstValues(std::string_view("<Other>o</Other>"), names).get(u"Other"),
               std::invalid_argument);
}

TEST(FirstValues, WriteTheEnginesTraceLineAndFailOnADestroyedEngine) {
  static const ElementNames names{u"A", u"B"};
  testing::LogFolder logs;
  logs.create_trace_flag();
  Ref<clsXML> engine = loaded(u"<A>1</A>");
  engine->Clear(true);
  EXPECT_THROW(engine->get_Value(u"A"), Error);  // the first logged error starts tracing
  engine->put_XML(u"<A>1</A>");
  const FirstValues values(*engine, names);
  EXPECT_EQ(values.get(u"A"), u"1");
  EXPECT_EQ(values.get(u"B"), u"");
  EXPECT_EQ(FirstValues(std::string_view("<B> 2 </B>"), names).get(u"B"), u"2");
  const auto lines = logs.trace_lines();
  ASSERT_EQ(lines.size(), 3u);  // one per value asked, present or not, engine or none
  for (const auto& line : lines) EXPECT_EQ(line.substr(18), "clsXML | Get Value");

  const size_t errors_before = logs.error_lines().size();
  engine->Clear(true);
  try {
    values.get(u"A");
    FAIL() << "a destroyed engine has no text to read";
  } catch (const Error& e) {
    EXPECT_EQ(e.number(), 91);
    EXPECT_EQ(Text(e.description()).substr(0, 38), u"clsXML | Get Value, Error # 91 at line");
  }
  EXPECT_EQ(logs.error_lines().size(), errors_before + 1);
}

// Untraced reads of absent names skip the procedure, but not its failure: a destroyed
// engine still answers 91 for them, with its one error-log line.
TEST(FirstValues, AbsentNamesStillFailOnADestroyedEngine) {
  static const ElementNames names{u"A", u"B"};
  testing::LogFolder logs;
  Ref<clsXML> engine = loaded(u"<A>1</A>");
  const FirstValues values(*engine, names);
  EXPECT_EQ(values.get(u"B"), u"");
  engine->Clear(true);
  const size_t errors_before = logs.error_lines().size();
  try {
    values.get(u"B");
    FAIL() << "a destroyed engine has no text to read";
  } catch (const Error& e) {
    EXPECT_EQ(e.number(), 91);
  }
  EXPECT_EQ(logs.error_lines().size(), errors_before + 1);
  EXPECT_TRUE(logs.trace_lines().empty());
}

TEST(FirstValues, NameSetsRejectNamesTheOnePassCannotFind) {
  EXPECT_THROW(ElementNames({u""}), std::invalid_argument);
  EXPECT_THROW(ElementNames({u"/a"}), std::invalid_argument);
  EXPECT_THROW(ElementNames({u"a>b"}), std::invalid_argument);
  EXPECT_THROW(ElementNames({u"a<b"}), std::invalid_argument);
  EXPECT_THROW(ElementNames({u"Pr\u00e9"}), std::invalid_argument);
  EXPECT_THROW(ElementNames({u"a", u"a"}), std::invalid_argument);
  std::vector<Text> many;
  for (size_t i = 0; i <= ElementNames::kMaxNames; ++i) many.push_back(u"n" + Text(i, u'x'));
  std::vector<TextView> views(many.begin(), many.end());
  EXPECT_THROW(ElementNames{views}, std::invalid_argument);  // one too many
  views.pop_back();
  const ElementNames most{views};
  EXPECT_EQ(most.index_of(views.back()), ElementNames::kMaxNames - 1);

  const ElementNames names{u"Cost", u"CoreCost", u"List", u"Sell"};
  EXPECT_EQ(names.index_of(TextView(u"List")), 2u);
  EXPECT_EQ(names.index_of(std::string_view("Sell")), 3u);
  EXPECT_EQ(names.index_of(TextView(u"Costs")), ElementNames::npos);
  EXPECT_EQ(names.index_of(std::string_view("")), ElementNames::npos);
}

}  // namespace
}  // namespace vexqom
