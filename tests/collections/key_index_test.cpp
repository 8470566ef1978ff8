// The key index against a plain map, through long random runs of filings and removals:
// probe runs wrap around the table's end and close up behind every removal.
#include "collections/key_index.h"

#include <gtest/gtest.h>

#include <deque>
#include <map>
#include <random>

#include "vexqom/variant.h"

namespace vexqom {
namespace {

struct Member {
  Text folded_key;
};

TEST(KeyIndex, AgreesWithAMapThroughFilingsAndRemovals) {
  std::mt19937 random(9);
  std::deque<Member> pool;  // members stay in place
  // Fifty keys belong to two members each: the second is refused while the first is filed.
  for (int i = 0; i < 300; ++i) pool.push_back(Member{u"k" + integer_text(i % 250)});
  KeyIndex<Member> index;
  std::map<Text, Member*> model;
  for (int step = 0; step < 40000; ++step) {
    Member& m = pool[random() % pool.size()];
    const auto filed = model.find(m.folded_key);
    if (random() % 3 != 0) {
      const bool taken = filed != model.end();
      ASSERT_EQ(index.insert(&m), !taken) << step;
      if (!taken) model.emplace(m.folded_key, &m);
    } else if (filed != model.end()) {
      index.erase(filed->second);
      model.erase(filed);
    }
    ASSERT_EQ(index.size(), model.size());
    if (step % 97 == 0) {
      for (const Member& probe : pool) {
        const auto it = model.find(probe.folded_key);
        ASSERT_EQ(index.find(probe.folded_key), it == model.end() ? nullptr : it->second)
            << step;
      }
      ASSERT_EQ(index.find(u"absent"), nullptr);
    }
    if (step == 20000) index.reserve(5000);  // a larger table keeps every member
  }
  index.clear();
  EXPECT_EQ(index.find(pool[0].folded_key), nullptr);
  EXPECT_TRUE(index.insert(&pool[0]));
}

}  // namespace
}  // namespace vexqom
