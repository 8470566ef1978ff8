// Several host threads using the library at once: each builds, writes and reloads its own
// selections while all of them append to the same error and trace logs. Lines must stay
// whole, none may be lost or doubled, and one thread's writer switches must never leak into
// another thread's output.
#include <gtest/gtest.h>
#include <pwd.h>
#include <unistd.h>

#include <atomic>
#include <barrier>
#include <ctime>
#include <map>
#include <regex>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "frame/diagnostics.h"
#include "support/log_folder.h"
#include "vexqom/ICatItemCol.h"
#include "support/writer_switches.h"

namespace vexqom {
namespace {

using testing::LogFolder;

constexpr int kThreads = 8;
constexpr int kRounds = 12;
constexpr int kItemsPerRound = 15;
constexpr int kSwitchChecksPerRound = 6;

Ref<ICatItem> part(const std::string& line_code, const std::string& number, int quantity,
                   double cost) {
  auto item = create<ICatItem>();
  item->put_LineCode(from_utf8(line_code));
  item->put_ItemNumber(from_utf8(number));
  item->put_Description(from_utf8("Part " + number + " & <co>"));
  item->put_ItemStatus(Variant(u"ORDER"));
  item->put_QuantityToOrder(Text(), Variant(int32_t{quantity}));
  auto prices = item->get_PriceCol();
  auto jobber = prices->get_Item(Variant(u"JOBBER"));
  jobber->put_Cost(Currency::from_double(cost));
  jobber->put_List(Currency::from_double(cost * 2));
  prices->get_Item(Variant(u"MSRP"))->put_List(Currency::from_double(cost * 3));
  prices->get_Item(Variant(u"LOCAL"))->put_Available(Variant(int32_t{0}));
  return item;
}

// The selection whose text depends on the writer switches: it carries zero values, which
// are written only while zero suppression is off.
Ref<ICatItemCol> switch_sample() {
  auto col = create<ICatItemCol>();
  auto item = part("SW", "0001", 1, 0.0);
  item->put_WorkGroup(0);
  col->Add(item, item->UniqueKey());
  return col;
}

struct Outcome {
  int failures = 0;                  // failures provoked (each must log one line)
  std::vector<std::string> faults;   // anything this thread saw go wrong
};

// One host thread's work. `mode_of(round)` says which writer switch this thread sets in
// that round (true: SHOWXML); `shown` and `hidden` are the texts the sample must give.
void worker(int id, std::barrier<>& started, const Text& shown, const Text& hidden,
            Outcome& out) {
  auto fault = [&](const std::string& what) { out.faults.push_back(what); };
  auto provoke = [&] {
    // A collection whose member list is gone: Add fails with 91 and logs one line.
    auto dead = create<ICatItemCol>();
    dead->Clear(true);
    try {
      dead->Add(part("X", "1", 1, 1.0), u"K");
      fault("Add on a cleared-out collection did not fail");
    } catch (const Error& e) {
      if (e.number() != 91) fault("provoked failure gave number " + std::to_string(e.number()));
    }
    ++out.failures;
  };

  // The first logged failure starts tracing on this thread; everyone starts together so the
  // trace log's size check at initialisation sees the same (empty) file in every thread.
  provoke();
  started.arrive_and_wait();

  const std::string code = "T" + std::to_string(id);
  for (int round = 0; round < kRounds; ++round) {
    auto col = create<ICatItemCol>();
    double expected_cost = 0;
    int expected_count = 0;
    for (int n = 0; n < kItemsPerRound; ++n) {
      const int quantity = 1 + (n + id) % 4;
      const double cost = 1.25 * (n + 1) + id;
      auto item = part(code, "R" + std::to_string(round) + "N" + std::to_string(n), quantity,
                       cost);
      col->Add(item, item->UniqueKey());
      expected_cost += quantity * cost;
      expected_count += quantity;
    }
    col->get_Vehicle()->put_Make(from_utf8("Make" + std::to_string(id)));
    if (col->get_ItemsTotalCount() != Currency::from_double(expected_count) ||
        col->get_ItemsTotalCost() != Currency::from_double(expected_cost)) {
      fault(code + " totals wrong in round " + std::to_string(round));
    }

    const Text text = col->get_XML();
    auto copy = create<ICatItemCol>();
    copy->put_XML(text);
    if (copy->get_Count() != kItemsPerRound || copy->get_XML() != text ||
        copy->get_ItemsTotalCost() != col->get_ItemsTotalCost()) {
      fault(code + " reload differs in round " + std::to_string(round));
    }
    if (text.find(from_utf8("<LineCode>" + code + "</LineCode>")) == Text::npos) {
      fault(code + " document lacks its own items");
    }

    provoke();

    // This thread's switch, set on its own collection, alternating against its neighbours.
    const bool show = (id + round) % 2 == 0;
    auto sample = switch_sample();
    sample->Summarize(show ? u"SHOWXML" : u"hidexml");
    for (int check = 0; check < kSwitchChecksPerRound; ++check) {
      std::this_thread::yield();
      if (sample->get_XML() != (show ? shown : hidden)) {
        fault(code + " wrote with another thread's switches in round " + std::to_string(round));
        break;
      }
    }
  }
}

std::string expected_user_field() {
  passwd entry{};
  passwd* result = nullptr;
  std::vector<char> scratch(16384);
  std::string name;
  if (::getpwuid_r(::geteuid(), &entry, scratch.data(), scratch.size(), &result) == 0 &&
      result != nullptr && result->pw_name != nullptr) {
    name = result->pw_name;
  }
  name.resize(12, ' ');
  return name;
}

std::string now_stamp() {
  std::time_t now = std::time(nullptr);
  std::tm local{};
  ::localtime_r(&now, &local);
  char buf[32];
  std::strftime(buf, sizeof buf, "%Y%m%d|%H:%M:%S", &local);
  return buf;
}

// Every line of a log: whole (the file ends in CR LF, no bare CR or LF inside a line), with a
// valid timestamp taken during the run. Returns the message parts.
std::vector<std::string> parse_log(const std::string& file, bool with_user,
                                   const std::string& from, const std::string& to) {
  const std::string all = LogFolder::read_file(file);
  EXPECT_TRUE(all.empty() || all.ends_with("\r\n")) << file << " ends inside a line";
  static const std::regex error_line(
      R"(^(\d{4})(\d{2})(\d{2})\|(\d{2}):(\d{2}):(\d{2}) (.{12}) (\S.*)$)");
  static const std::regex trace_line(R"(^(\d{4})(\d{2})(\d{2})\|(\d{2}):(\d{2}):(\d{2}) (\S.*)$)");
  const std::string user = expected_user_field();
  std::vector<std::string> messages;
  for (const std::string& line : LogFolder::lines(file)) {
    std::smatch m;
    const bool parsed = std::regex_match(line, m, with_user ? error_line : trace_line) &&
                        line.find_first_of("\r\n") == std::string::npos;
    if (!parsed) {
      ADD_FAILURE() << "malformed line in " << file << ": [" << line << "]";
      continue;
    }
    const int month = std::stoi(m[2]), day = std::stoi(m[3]);
    const int hour = std::stoi(m[4]), minute = std::stoi(m[5]), second = std::stoi(m[6]);
    EXPECT_TRUE(month >= 1 && month <= 12 && day >= 1 && day <= 31 && hour < 24 &&
                minute < 60 && second < 61)
        << line;
    const std::string stamp = line.substr(0, 17);
    EXPECT_TRUE(stamp >= from && stamp <= to) << "stamp outside the run: " << line;
    if (with_user) {
      EXPECT_EQ(m.str(7), user) << line;
      messages.push_back(m.str(8));
    } else {
      messages.push_back(m.str(7));
    }
  }
  return messages;
}

std::map<std::string, int> tally(const std::vector<std::string>& messages) {
  std::map<std::string, int> counts;
  for (const auto& m : messages) ++counts[m];
  return counts;
}

struct LogRun {
  int failures = 0;
  std::vector<std::string> errors;
  std::vector<std::string> traces;
};

LogRun run_threads(int threads, const Text& shown, const Text& hidden) {
  LogFolder logs;
  logs.create_trace_flag();
  const std::string from = now_stamp();
  std::barrier<> started(threads);
  std::vector<Outcome> outcomes(threads);
  std::vector<std::thread> pool;
  for (int t = 0; t < threads; ++t) {
    pool.emplace_back([&, t] { worker(t, started, shown, hidden, outcomes[t]); });
  }
  for (auto& th : pool) th.join();
  const std::string to = now_stamp();
  LogRun run;
  for (int t = 0; t < threads; ++t) {
    for (const auto& f : outcomes[t].faults) ADD_FAILURE() << "thread " << t << ": " << f;
    run.failures += outcomes[t].failures;
  }
  run.errors = parse_log(logs.error_log_path(), true, from, to);
  run.traces = parse_log(logs.trace_log_path(), false, from, to);
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
  ASSERT_EQ(static_cast<int>(alone.errors.size()), alone.failures);
  for (const auto& message : alone.errors) {
    EXPECT_TRUE(message.starts_with("ICatItemCol | Add, Error # 91 at line: ")) << message;
  }
  ASSERT_FALSE(alone.traces.empty()) << "the trace flag did not turn tracing on";

  const LogRun all = run_threads(kThreads, shown, hidden);
  EXPECT_EQ(all.failures, kThreads * alone.failures);
  EXPECT_EQ(static_cast<int>(all.errors.size()), all.failures);
  auto expected_errors = tally(alone.errors);
  for (auto& [message, count] : expected_errors) count *= kThreads;
  EXPECT_EQ(tally(all.errors), expected_errors);
  auto expected_traces = tally(alone.traces);
  for (auto& [message, count] : expected_traces) count *= kThreads;
  EXPECT_EQ(tally(all.traces), expected_traces);
}

}  // namespace
}  // namespace vexqom
