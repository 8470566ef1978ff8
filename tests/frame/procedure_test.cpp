// The procedure convention and the diagnostic logs as a host sees them.
#include "frame/procedure.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <utime.h>

#include <filesystem>
#include <regex>
#include <thread>

#include "frame/diagnostics.h"
#include "support/checks.h"
#include "support/log_folder.h"

namespace vexqom {
namespace {

using testing::failure_of;
using testing::LogFolder;

ErrorState g_state;

void innermost() {
  run_procedure(g_state, u"Inner | Three", Trace::Yes, [&](int& line) {
    line = 1;
    line = 2;
    throw Error(errc::kOverflow);
  });
}
void middle() {
  run_procedure(g_state, u"Middle | Two", Trace::Yes, [&](int& line) {
    line = 4;
    innermost();
  });
}

TEST(ProcedureConvention, EachLevelAddsOneLabelLineAndLogsOnce) {
  LogFolder logs;
  ErrorState state;
  auto fail = [&] {
    run_procedure(state, u"ICatThing | Let XML", Trace::No, [&](int& line) {
      line = 3;
      throw Error(errc::kTypeMismatch);
    });
  };
  const std::string composed = "ICatThing | Let XML, Error # 13 at line: 3\r\nType mismatch";
  EXPECT_EQ(failure_of(fail), "13 " + composed);
  EXPECT_EQ(state.LastErrorNumber, 13);
  EXPECT_EQ(testing::u8(state.LastErrorMessage), composed);
  try {
    fail();
  } catch (const Error& e) {
    EXPECT_EQ(e.source(), u"vexqom_PLUMEK2");
  }
  EXPECT_EQ(failure_of([] {
              run_procedure(g_state, u"Outer | One", Trace::Yes, [&](int& line) {
                line = 7;
                middle();
              });
            }),
            "6 Outer | One, Error # 6 at line: 7\r\nMiddle | Two, Error # 6 at line: 4\r\n"
            "Inner | Three, Error # 6 at line: 2\r\nOverflow");
  const std::string one = "ICatThing | Let XML, Error # 13 at line: 3][Type mismatch";
  const std::string inner = "Inner | Three, Error # 6 at line: 2][Overflow";
  const std::string two = "Middle | Two, Error # 6 at line: 4][" + inner;
  EXPECT_EQ(logs.error_messages(),
            (std::vector<std::string>{one, one, inner, two,
                                      "Outer | One, Error # 6 at line: 7][" + two}));
}

TEST(ErrorLog, LineLayoutTimestampUserFieldAndTrimming) {
  LogFolder logs;
  diag::ErrorLog_Write(u"  first\r\nsecond\rthird\nfourth  ");
  diag::ErrorLog_Write(u"   ");
  diag::ErrorLog_Write(u"");
  auto lines = logs.error_lines();
  ASSERT_EQ(lines.size(), 2u) << "an empty message writes nothing";
  std::regex layout(R"(^\d{8}\|\d{2}:\d{2}:\d{2} .{12} ([\s\S]*)$)");
  std::smatch m;
  ASSERT_TRUE(std::regex_match(lines[0], m, layout)) << lines[0];
  EXPECT_EQ(m[1].str(), "first][second\rthird\nfourth");
  ASSERT_TRUE(std::regex_match(lines[1], m, layout)) << lines[1];
  EXPECT_EQ(m[1].str(), "") << "a message of blanks gives an empty message part";
  EXPECT_NE(lines[0].substr(18, 12), std::string(12, ' ')) << "the logon name, padded to 12";
  EXPECT_EQ(LogFolder::read_file(logs.error_log_path()).back(), '\n');
}

TEST(TraceLog, StartsAfterTheFirstLoggedErrorOfTheThreadAndOnlyWithTheFlag) {
  {
    LogFolder logs;
    diag::ErrorLog_Write(u"first error");
    EXPECT_FALSE(diag::TraceActive());
    run_procedure(g_state, u"T | Traced", Trace::Yes, [](int&) {});
    EXPECT_FALSE(std::filesystem::exists(logs.trace_log_path())) << "no flag, no tracing";
  }
  LogFolder logs;
  logs.create_trace_flag();
  ErrorState state;
  auto traced = [&] { run_procedure(state, u"T | Traced", Trace::Yes, [](int&) {}); };
  traced();
  EXPECT_TRUE(logs.trace_lines().empty()) << "no trace before the first error";
  EXPECT_THROW(
      run_procedure(state, u"T | Failing", Trace::Yes, [](int&) { throw Error(errc::kOverflow); }),
      Error);
  EXPECT_TRUE(logs.trace_lines().empty()) << "the failing entry came before initialisation";
  traced();
  traced();
  run_procedure(state, u"T | Untraced", Trace::No, [](int&) {});
  auto lines = logs.trace_lines();
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_TRUE(std::regex_match(lines[0], std::regex(R"(^\d{8}\|\d{2}:\d{2}:\d{2} T \| Traced$)")))
      << lines[0];
}

TEST(TraceLog, StaleOrOversizedLogIsDiscardedAtInitialisation) {
  struct Case {
    size_t size;
    bool yesterday, kept;
  };
  for (Case c : {Case{1048576, false, true}, Case{1048577, false, false}, Case{10, true, false},
                 Case{10, false, true}}) {
    LogFolder logs;
    logs.create_trace_flag();
    LogFolder::write_file(logs.trace_log_path(), std::string(c.size, 'x'));
    if (c.yesterday) {
      struct utimbuf times;
      times.actime = times.modtime = time(nullptr) - 26 * 3600;
      utime(logs.trace_log_path().c_str(), &times);
    }
    diag::LogFiles_Init();
    EXPECT_EQ(std::filesystem::exists(logs.trace_log_path()), c.kept)
        << c.size << " bytes, yesterday=" << c.yesterday;
  }
}

TEST(DiagnosticState, EachThreadStartsWithItsOwnPathsAndSwitches) {
  LogFolder logs;
  logs.start_tracing();
  diag::thread_state().XMLCompress = true;
  ASSERT_TRUE(diag::TraceActive());
  constexpr int kThreads = 4;
  std::vector<int> fresh(kThreads, 0), initialised(kThreads, 0);
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      const diag::ThreadState& st = diag::thread_state();
      fresh[t] = st.ErrorLogPath.empty() && st.TraceLogPath.empty() && !diag::TraceActive() &&
                 !st.TraceToFile && !st.XMLCompress && !st.XMLZeroSuppress;
      diag::ErrorLog_Write(u"worker error");
      initialised[t] = !st.ErrorLogPath.empty() && diag::TraceActive();
    });
  }
  for (auto& th : threads) th.join();
  EXPECT_EQ(fresh, std::vector<int>(kThreads, 1));
  EXPECT_EQ(initialised, std::vector<int>(kThreads, 1));
  EXPECT_TRUE(diag::thread_state().XMLCompress) << "workers did not touch this thread";
  EXPECT_EQ(logs.error_lines().size(), 1u + kThreads);
}

TEST(HandlerVariants, IgnoredErrorsAndToleratedDuplicateKeys) {
  LogFolder logs;
  ignore_errors([] { throw Error(errc::kOverflow); });
  int reached = 0;
  ErrorState state;
  run_procedure(state, u"C | Add", Trace::No, [&](int& line) {
    line = 1;
    tolerate_duplicate_key([] { throw Error(errc::kDuplicateKey); });
    reached = 2;
  });
  EXPECT_EQ(reached, 2);
  EXPECT_THROW(
      run_procedure(state, u"C | Add", Trace::No,
                    [&](int&) { tolerate_duplicate_key([] { throw Error(errc::kOverflow); }); }),
      Error);
  EXPECT_EQ(logs.error_lines().size(), 1u) << "only the non-duplicate failure is logged";
}

}  // namespace
}  // namespace vexqom
