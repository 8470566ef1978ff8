// The procedure convention and the diagnostic logs as a host sees them.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <utime.h>

#include <filesystem>
#include <regex>
#include <thread>

#include "frame/diagnostics.h"
#include "frame/procedure.h"
#include "support/log_folder.h"

namespace vexqom {
namespace {

using testing::LogFolder;
using testing::log_message;

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
void outermost() {
  run_procedure(g_state, u"Outer | One", Trace::Yes, [&](int& line) {
    line = 7;
    middle();
  });
}

TEST(ProcedureConvention, FailureIsLoggedOnceAndRaisedWithComposedMessage) {
  LogFolder logs;
  ErrorState state;
  auto fail = [&] {
    run_procedure(state, u"ICatThing | Let XML", Trace::No, [&](int& line) {
      line = 3;
      throw Error(errc::kTypeMismatch);
    });
  };
  try {
    fail();
    FAIL() << "no error raised";
  } catch (const Error& e) {
    EXPECT_EQ(e.number(), 13);
    EXPECT_EQ(e.source(), u"vexqom_PLUMEK2");
    EXPECT_EQ(to_utf8(e.description()),
              "ICatThing | Let XML, Error # 13 at line: 3\r\nType mismatch");
  }
  EXPECT_EQ(state.LastErrorNumber, 13);
  EXPECT_EQ(to_utf8(state.LastErrorMessage),
            "ICatThing | Let XML, Error # 13 at line: 3\r\nType mismatch");
  auto lines = logs.error_lines();
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(log_message(lines[0]), "ICatThing | Let XML, Error # 13 at line: 3][Type mismatch");

  EXPECT_THROW(fail(), Error);
  EXPECT_EQ(logs.error_lines().size(), 2u);
}

TEST(ProcedureConvention, ChainsAddOneLabelLineAndOneLogLinePerLevel) {
  LogFolder logs;
  try {
    outermost();
    FAIL();
  } catch (const Error& e) {
    EXPECT_EQ(e.number(), 6);
    EXPECT_EQ(to_utf8(e.description()),
              "Outer | One, Error # 6 at line: 7\r\n"
              "Middle | Two, Error # 6 at line: 4\r\n"
              "Inner | Three, Error # 6 at line: 2\r\n"
              "Overflow");
  }
  auto lines = logs.error_lines();
  ASSERT_EQ(lines.size(), 3u);
  EXPECT_EQ(log_message(lines[0]), "Inner | Three, Error # 6 at line: 2][Overflow");
  EXPECT_EQ(log_message(lines[1]),
            "Middle | Two, Error # 6 at line: 4][Inner | Three, Error # 6 at line: 2][Overflow");
  EXPECT_EQ(log_message(lines[2]),
            "Outer | One, Error # 6 at line: 7][Middle | Two, Error # 6 at line: 4]["
            "Inner | Three, Error # 6 at line: 2][Overflow");
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
  // The user field is the logon name padded to exactly 12 characters.
  std::string user = lines[0].substr(18, 12);
  EXPECT_EQ(user.size(), 12u);
  EXPECT_NE(user, std::string(12, ' '));
  EXPECT_EQ(LogFolder::read_file(logs.error_log_path()).back(), '\n');
}

TEST(ErrorLog, UnwritableFolderStillDeliversTheComposedError) {
  LogFolder logs;
  // A library folder that does not exist: the log cannot be opened.
  diag::set_library_file_override(logs.path() + "/missing/libvexqom_PLUMEK2.so");
  diag::reset_thread_state_for_testing();
  ErrorState state;
  try {
    run_procedure(state, u"X | Y", Trace::No, [&](int& line) {
      line = 1;
      throw Error(errc::kSubscriptOutOfRange);
    });
    FAIL();
  } catch (const Error& e) {
    EXPECT_EQ(e.number(), 9);
    EXPECT_EQ(to_utf8(e.description()), "X | Y, Error # 9 at line: 1\r\nSubscript out of range");
  }
  EXPECT_FALSE(std::filesystem::exists(logs.path() + "/missing"));
}

TEST(TraceLog, StartsOnlyAfterTheFirstLoggedErrorOfTheThread) {
  LogFolder logs;
  logs.create_trace_flag();
  ErrorState state;
  auto traced = [&] { run_procedure(state, u"T | Traced", Trace::Yes, [](int&) {}); };
  traced();
  EXPECT_TRUE(logs.trace_lines().empty()) << "no trace before the first error";
  EXPECT_THROW(run_procedure(state, u"T | Failing", Trace::Yes,
                             [](int&) { throw Error(errc::kOverflow); }),
               Error);
  EXPECT_TRUE(logs.trace_lines().empty()) << "the failing entry came before initialisation";
  traced();
  traced();
  auto lines = logs.trace_lines();
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_TRUE(std::regex_match(lines[0], std::regex(R"(^\d{8}\|\d{2}:\d{2}:\d{2} T \| Traced$)")))
      << lines[0];
  run_procedure(state, u"T | Untraced", Trace::No, [](int&) {});
  EXPECT_EQ(logs.trace_lines().size(), 2u);
}

TEST(TraceLog, NoFlagFileMeansNoTracing) {
  LogFolder logs;
  diag::ErrorLog_Write(u"first error");
  EXPECT_FALSE(diag::TraceActive());
  run_procedure(g_state, u"T | Traced", Trace::Yes, [](int&) {});
  EXPECT_FALSE(std::filesystem::exists(logs.trace_log_path()));
}

TEST(TraceLog, StaleOrOversizedLogIsDiscardedAtInitialisation) {
  struct Case {
    size_t size;
    bool yesterday;
    bool kept;
  };
  for (Case c : {Case{1048576, false, true}, Case{1048577, false, false},
                 Case{10, true, false}, Case{10, false, true}}) {
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
  logs.create_trace_flag();
  diag::ErrorLog_Write(u"main thread error");
  diag::thread_state().XMLCompress = true;
  ASSERT_TRUE(diag::TraceActive());
  ASSERT_FALSE(diag::thread_state().ErrorLogPath.empty());

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
  for (int t = 0; t < kThreads; ++t) {
    EXPECT_TRUE(fresh[t]) << "thread " << t;
    EXPECT_TRUE(initialised[t]) << "thread " << t;
  }
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
    line = 2;
    reached = 2;
  });
  EXPECT_EQ(reached, 2);
  EXPECT_THROW(run_procedure(state, u"C | Add", Trace::No,
                             [&](int&) {
                               tolerate_duplicate_key([] { throw Error(errc::kOverflow); });
                             }),
               Error);
  EXPECT_EQ(logs.error_lines().size(), 1u) << "only the non-duplicate failure is logged";
}

}  // namespace
}  // namespace vexqom
