// Several host threads using the library at once: each builds, writes and reloads its own
// selections while all of them append to the same error and trace logs. Lines must stay
// whole, none may be lost or doubled, and one thread's writer switches must never leak into
// another thread's output.
#include <gtest/gtest.h>
#include <unistd.h>

#include <barrier>
#include <map>
#include <regex>
#include <string>
#include <thread>
#include <vector>

#include "support/checks.h"
#include "support/log_folder.h"
#include "support/samples.h"
#include "vexqom/ICatItemCol.h"

namespace vexqom {
namespace {

using namespace testing;

constexpr int kThreads = 8, kRounds = 12, kItemsPerRound = 15;

// A selection whose text depends on the writer switches: its zero values are written only
// while zero suppression is off.
Ref<ICatItemCol> switch_sample() {
  auto col = create<ICatItemCol>();
  col->Add(part(u"SW", u"0001", 1, 0.0), u"SW");
  return col;
}

// One host thread's work; anything it sees go wrong goes into `faults`. Returns the number
// of failures it provoked, each of which must log one line.
int worker(int id, std::barrier<>& started, const Text& shown, const Text& hidden,
           std::vector<std::string>& faults) {
  int provoked = 0;
  auto provoke = [&] {  // Add on a collection whose member list is gone: 91, one log line
    auto dead = create<ICatItemCol>();
    dead->Clear(true);
    if (error_number_of([&] { dead->Add(part(u"X", u"1", 1, 1.0), u"K"); }) != 91)
      faults.push_back("the provoked failure was not 91");
    ++provoked;
  };
  // The first logged failure starts tracing on this thread; everyone starts together so the
  // trace log's size check at initialisation sees the same (empty) file in every thread.
  provoke();
  started.arrive_and_wait();
  const std::string code = "T" + std::to_string(id);
  for (int round = 0; round < kRounds; ++round) {
    auto col = create<ICatItemCol>();
    double cost = 0;
    int count = 0;
    for (int n = 0; n < kItemsPerRound; ++n) {
      const int quantity = 1 + (n + id) % 4;
      const Text number = from_utf8("R" + std::to_string(round) + "N" + std::to_string(n));
      auto item = part(from_utf8(code).c_str(), number.c_str(), quantity, 1.25 * (n + 1) + id);
      col->Add(item, item->UniqueKey());
      cost += quantity * (1.25 * (n + 1) + id);
      count += quantity;
    }
    if (col->get_ItemsTotalCount() != Currency::from_double(count) ||
        col->get_ItemsTotalCost() != Currency::from_double(cost))
      faults.push_back(code + " totals wrong");
    const Text text = col->get_XML();
    auto copy = create<ICatItemCol>();
    copy->put_XML(text);
    if (copy->get_Count() != kItemsPerRound || copy->get_XML() != text ||
        text.find(from_utf8("<LineCode>" + code + "</LineCode>")) == Text::npos)
      faults.push_back(code + " reload differs");
    provoke();
    // This thread's switch, set on its own collection, alternating against its neighbours.
    const bool show = (id + round) % 2 == 0;
    auto sample = switch_sample();
    sample->Summarize(show ? u"SHOWXML" : u"hidexml");
    for (int check = 0; check < 6; ++check) {
      std::this_thread::yield();
      if (sample->get_XML() != (show ? shown : hidden)) {
        faults.push_back(code + " wrote with another thread's switches");
        break;
      }
    }
  }
  return provoked;
}

// How often each message occurs in a log whose every line is whole: the file ends in CR LF
// and each line is a stamp, (for the error log) a 12-character user field, and a message.
std::map<std::string, int> tally(const std::string& file, bool with_user) {
  const std::string all = LogFolder::read_file(file);
  EXPECT_TRUE(all.empty() || all.ends_with("\r\n")) << file << " ends inside a line";
  const std::regex line_form(with_user ? R"(^\d{8}\|\d\d:\d\d:\d\d .{12} ([^\r\n]+)$)"
                                       : R"(^\d{8}\|\d\d:\d\d:\d\d ([^\r\n]+)$)");
  std::map<std::string, int> counts;
  for (const std::string& line : LogFolder::lines(file)) {
    std::smatch m;
    if (std::regex_match(line, m, line_form)) {
      ++counts[m.str(1)];
    } else {
      ADD_FAILURE() << "malformed line in " << file << ": [" << line << "]";
    }
  }
  return counts;
}

struct LogRun {
  int failures = 0;
  std::map<std::string, int> errors, traces;
};

LogRun run_threads(int threads, const Text& shown, const Text& hidden) {
  LogFolder logs;
  logs.create_trace_flag();
  std::barrier<> started(threads);
  std::vector<std::vector<std::string>> faults(threads);
  std::vector<int> provoked(threads);
  std::vector<std::thread> pool;
  for (int t = 0; t < threads; ++t)
    pool.emplace_back([&, t] { provoked[t] = worker(t, started, shown, hidden, faults[t]); });
  for (auto& th : pool) th.join();
  LogRun run;
  for (int t = 0; t < threads; ++t) {
    for (const auto& f : faults[t]) ADD_FAILURE() << "thread " << t << ": " << f;
    run.failures += provoked[t];
  }
  run.errors = tally(logs.error_log_path(), true);
  run.traces = tally(logs.trace_log_path(), false);
  return run;
}

TEST(ReliabilityThreads, SharedLogsStayWholeAndSwitchesStayPerThread) {
  // The sample's two texts, made on this thread; its own switches are put back afterwards.
  Text shown, hidden;
  {
    const testing::WriterSwitches kept;
    auto sample = switch_sample();
    sample->Summarize(u"SHOWXML");
    shown = sample->get_XML();
    sample->Summarize(u"HIDEXML");
    hidden = sample->get_XML();
  }
  ASSERT_NE(shown, hidden) << "the sample does not tell the switches apart";
  // One thread alone gives the lines each thread must contribute.
  const LogRun alone = run_threads(1, shown, hidden);
  ASSERT_EQ(alone.errors.size(), 1u);
  EXPECT_TRUE(alone.errors.begin()->first.starts_with("ICatItemCol | Add, Error # 91 at line: "));
  ASSERT_EQ(alone.errors.begin()->second, alone.failures);
  ASSERT_FALSE(alone.traces.empty()) << "the trace flag did not turn tracing on";
  const LogRun all = run_threads(kThreads, shown, hidden);
  EXPECT_EQ(all.failures, kThreads * alone.failures);
  for (const auto* counts : {&alone.errors, &alone.traces}) {
    auto expected = *counts;
    for (auto& [message, count] : expected) count *= kThreads;
    EXPECT_EQ(counts == &alone.errors ? all.errors : all.traces, expected);
  }
}

}  // namespace
}  // namespace vexqom
