// The snippet writer against a snippet engine given the same calls: the same bytes, for
// every switch setting, special and unheld characters, markup, zeros and empty values,
// written into a text of its own or at the end of a parent's.
#include "xml/snippet_writer.h"

#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <string>
#include <vector>

#include "xml/clsXML.h"

namespace vexqom {
namespace {

TEST(SnippetWriter, WritesWhatASnippetEngineWrites) {
  const std::vector<Text> names{u"Price", u"Cost", u"Item", u"Caf\u00e9", u"A"};
  const std::vector<Text> values{u"",     u"0",          u"0.00",        u" 0 ",   u"-0",
                                 u"1E-400", u"3.27",     u"&H0",         u"x",     u"<b>1</b>",
                                 u"<",    u"a & b <c>", u"'q' \"d\"",   u"\u20ac \u015d", u"0x"};
  std::mt19937 random(5);
  size_t written = 0;
  for (int round = 0; round < 3000; ++round) {
    const bool compress = random() % 2;
    const bool zero_suppress = random() % 2;
    // Half the rounds write at the end of a parent's text, as nested records do.
    const std::string parent = random() % 2 ? "<Item><Code>7</Code>" : "";
    std::string target = parent;
    auto writer_of = [&]() {
      return parent.empty() ? std::make_unique<SnippetWriter>(compress, zero_suppress)
                            : std::make_unique<SnippetWriter>(target, compress, zero_suppress);
    };
    const std::unique_ptr<SnippetWriter> writer_ptr = writer_of();
    SnippetWriter& writer = *writer_ptr;
    int depth = 0;
    Ref<clsXML> engine = create<clsXML>();
    engine->put_Snippet(true);
    engine->put_Compress(compress);
    engine->put_ZeroSuppress(zero_suppress);
    for (int step = static_cast<int>(random() % 12); step >= 0; --step) {
      const Text& name = names[random() % names.size()];
      const Text& value = values[random() % values.size()];
      switch (random() % 7) {
        case 0:
          if (depth == 8) break;  // the writer's nesting limit
          ++depth;
          writer.open(name);
          engine->Add(name, Text(), true, false);
          break;
        case 1:
          depth -= depth > 0;
          writer.close();
          engine->EndGroup();
          break;
        case 2: {
          const std::string bytes = to_code_page(u"<" + name + u">" + value + u"</" + name + u">");
          writer.add_xml(bytes);
          engine->AddXML(from_code_page(bytes));
          break;
        }
        case 3: {  // amounts: a zero one is left out without writing its text
          const Currency amount = Currency::from_raw(static_cast<int64_t>(random() % 3) * 32700);
          writer.add(name, amount);
          engine->Add(name, amount.to_text());
          break;
        }
        default:
          writer.add(name, value);
          engine->Add(name, value);
      }
    }
    const std::string expected = parent + to_code_page(engine->get_XML());
    if (parent.empty()) {
      ASSERT_EQ(std::move(writer).finish(), expected) << "round " << round;
    } else {
      writer.end();
      ASSERT_EQ(target, expected) << "round " << round;
    }
    written += expected.size();
  }
  EXPECT_GT(written, 50000u);
}

}  // namespace
}  // namespace vexqom
