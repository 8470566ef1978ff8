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
using Tally = std::map<std::string, int>;

constexpr int kThreads = 8, kRounds = 12, kItemsPerRound = 15;

// A selection whose text depends on the writer switches: its zero values are written only
// while zero suppression is off.
Ref<ICatItemCol> switch_sample(const char16_t* option) {
  auto col = create<ICatItemCol>();
  col->Add(part(u"SW", u"0001", 1, 0.0), u"SW");
  col->Summarize(option);
  return col;
}

// Add on a collection whose member list is gone: 91 and one log line.
bool provoke() {
  auto dead = create<ICatItemCol>();
  dead->Clear(true);
  return error_number_of([&] { dead->Add(part(u"X", u"1", 1, 1.0), u"K"); }) == 91;
}

// One host thread's work (kRounds + 1 provoked failures); what it sees go wrong goes into
// `faults`.
void worker(int id, std::barrier<>& started, const Text& shown, const Text& hidden,
            std::vector<std::string>& faults) {
  const std::string code = "T" + std::to_string(id);
  auto fault = [&](bool wrong, const char* what) {
    if (wrong) faults.push_back(code + what);
  };
  // The first logged failure starts tracing on this thread; everyone starts together so the
  // trace log's size check at initialisation sees the same (empty) file in every thread.
  fault(!provoke(), " no 91");
  started.arrive_and_wait();
  for (int round = 0; round < kRounds; ++round) {
    auto col = create<ICatItemCol>();
    for (int n = 0; n < kItemsPerRound; ++n) {
      const int quantity = 1 + (n + id) % 4;
      const double price = 1.25 * (n + 1) + id;
      const Text number = from_utf8("R" + std::to_string(round) + "N" + std::to_string(n));
      auto item = part(from_utf8(code).c_str(), number.c_str(), quantity, price);
      col->Add(item, item->UniqueKey());
    }
    const Text text = col->get_XML();
    auto copy = create<ICatItemCol>();
    copy->put_XML(text);
    fault(copy->get_Count() != kItemsPerRound || copy->get_XML() != text ||
              text.find(from_utf8("<LineCode>" + code + "</LineCode>")) == Text::npos,
          " reload differs");
    fault(!provoke(), " no 91");
    // This thread's switch, set on its own collection, alternating against its neighbours.
    const bool show = (id + round) % 2 == 0;
    auto sample = switch_sample(show ? u"SHOWXML" : u"hidexml");
    for (int check = 0; check < 6; ++check, std::this_thread::yield())
      fault(sample->get_XML() != (show ? shown : hidden), " wrote with another's switches");
  }
}

// How often each message occurs in a log whose every line is whole: the file ends in CR LF
// and each line is a stamp, (for the error log) a 12-character user field, and a message.
Tally tally(const std::string& file, bool with_user) {
  const std::string all = LogFolder::read_file(file);
  EXPECT_TRUE(all.empty() || all.ends_with("\r\n")) << file << " ends inside a line";
  const std::regex line_form(with_user ? R"(^\d{8}\|\d\d:\d\d:\d\d .{12} ([^\r\n]+)$)"
                                       : R"(^\d{8}\|\d\d:\d\d:\d\d ([^\r\n]+)$)");
  Tally counts;
  for (const std::string& line : LogFolder::lines(file)) {
    std::smatch m;
    EXPECT_TRUE(std::regex_match(line, m, line_form)) << "malformed in " << file << ": " << line;
    ++counts[m.empty() ? line : m.str(1)];
  }
  return counts;
}

// The error and trace logs' tallies after `threads` workers.
std::pair<Tally, Tally> run_threads(int threads, const Text& shown, const Text& hidden) {
  LogFolder logs;
  logs.create_trace_flag();
  std::barrier<> started(threads);
  std::vector<std::vector<std::string>> faults(threads);
  std::vector<std::thread> pool;
  for (int t = 0; t < threads; ++t)
    pool.emplace_back([&, t] { worker(t, started, shown, hidden, faults[t]); });
  for (auto& th : pool) th.join();
  for (const auto& each : faults)
    for (const auto& f : each) ADD_FAILURE() << f;
  return {tally(logs.error_log_path(), true), tally(logs.trace_log_path(), false)};
}

TEST(ReliabilityThreads, SharedLogsStayWholeAndSwitchesStayPerThread) {
  // The sample's two texts, made on this thread; its own switches are put back afterwards.
  Text shown, hidden;
  {
    const testing::WriterSwitches kept;
    shown = switch_sample(u"SHOWXML")->get_XML();
    hidden = switch_sample(u"HIDEXML")->get_XML();
  }
  ASSERT_NE(shown, hidden) << "the sample does not tell the switches apart";
  // One thread alone gives the lines each thread must contribute.
  auto [errors, traces] = run_threads(1, shown, hidden);
  ASSERT_EQ(errors.size(), 1u);
  EXPECT_TRUE(errors.begin()->first.starts_with("ICatItemCol | Add, Error # 91 at line: "));
  ASSERT_EQ(errors.begin()->second, kRounds + 1);
  ASSERT_FALSE(traces.empty()) << "the trace flag did not turn tracing on";
  for (auto* counts : {&errors, &traces})
    for (auto& [message, count] : *counts) count *= kThreads;
  EXPECT_EQ(run_threads(kThreads, shown, hidden), std::pair(errors, traces));
}

}  // namespace
}  // namespace vexqom
