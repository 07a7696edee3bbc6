// The risk: a check that holds up the closing of the program, speaks after it, or is lost.

#include "update/startup_update_check.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "base/guarded.h"
#include "tests/support/latch.h"
#include "tests/support/time_limit.h"

namespace hvt {
namespace {

using test::Latch;
using test::TimeLimit;
using Clock = std::chrono::steady_clock;

const char* const kManifest = R"({"latestVersion":"1.0.8","releaseDate":"2030-01-31"})";

// Keeps what was reported.
class Results {
 public:
  explicit Results(std::size_t expected) : all_here_(expected) {}

  StartupUpdateCheck::Report taker() {
    return [this](const UpdateResult& result) {
      results_.with([&](auto& results) { results.push_back(result); });
      all_here_.count_down();
    };
  }
  std::vector<UpdateResult> wait() {
    const TimeLimit limit("the results of the checks");
    all_here_.wait();
    return results_.with([](const auto& results) { return results; });
  }

 private:
  Latch all_here_;
  Guarded<std::vector<UpdateResult>> results_;
};

TEST(StartupUpdateCheck, every_end_of_a_fetch_becomes_a_result) {
  struct Case {
    const char* name;
    StartupUpdateCheck::Fetch fetch;
    bool succeeds;
    std::string failure;
  };
  const Case cases[] = {
      {"good", [](auto&) { return kManifest; }, true, ""},
      {"broken", [](auto&) { return "{}"; }, false, "Invalid latestVersion."},
      {"failed", [](auto&) -> std::string { throw std::runtime_error("Timed out."); }, false, "Timed out."},
      {"exhausted", [](auto&) -> std::string { throw std::bad_alloc(); }, false, std::bad_alloc().what()},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    Results results(1);
    StartupUpdateCheck check(c.fetch, results.taker());
    check.request_check();
    const UpdateResult result = results.wait().at(0);
    EXPECT_EQ(result.succeeded, c.succeeds);
    EXPECT_EQ(result.failure, c.failure);
    EXPECT_EQ(result.latest, (c.succeeds ? Version{{1, 0, 8, 0}} : Version{}));
  }
}

TEST(StartupUpdateCheck, a_request_during_a_check_adds_none_and_one_after_it_does) {
  Latch may_end(1);
  std::atomic<int> fetches{0};
  Results results(2);
  StartupUpdateCheck* asks_again = nullptr;
  std::atomic<bool> first{true};
  StartupUpdateCheck check(
      [&](CancelSignal&) {
        ++fetches;
        may_end.wait();
        return kManifest;
      },
      [&, take = results.taker()](const UpdateResult& result) {
        take(result);
        // As from an interface that is faster than the end of the report.
        if (first.exchange(false)) asks_again->request_check();
      });
  asks_again = &check;
  for (int i = 0; i < 10; ++i)
    check.request_check();
  may_end.count_down();
  EXPECT_EQ(results.wait().size(), 2U);
  EXPECT_EQ(fetches, 2);
}

TEST(StartupUpdateCheck, closing_ends_a_fetch_that_listens_and_reports_nothing) {
  Latch begun(1);
  Latch woken(1);
  std::atomic<int> reports{0};
  auto check = std::make_unique<StartupUpdateCheck>(
      [&](CancelSignal& cancel) -> std::string {
        const CancelSignal::Wake wake(cancel, [&] { woken.count_down(); });
        begun.count_down();
        woken.wait();
        throw std::runtime_error("Update request cancelled.");
      },
      [&](const UpdateResult&) { ++reports; });
  check->request_check();
  const TimeLimit limit("the end of a check that was cancelled");
  begun.wait();
  check.reset();
  EXPECT_EQ(reports, 0);
}

TEST(StartupUpdateCheck, closing_leaves_a_fetch_behind_that_does_not_listen) {
  struct Shared {
    Latch begun{1};
    Latch may_end{1};
    Latch gone{1};
    std::atomic<int> reports{0};
  };
  const auto shared = std::make_shared<Shared>();
  // Goes with the last share of the check's state, which is the thread's.
  std::shared_ptr<void> farewell(nullptr, [shared](void*) { shared->gone.count_down(); });
  auto check = std::make_unique<StartupUpdateCheck>(
      [shared, farewell = std::move(farewell)](CancelSignal&) -> std::string {
        shared->begun.count_down();
        shared->may_end.wait();
        return kManifest;
      },
      [shared](const UpdateResult&) { ++shared->reports; });
  check->request_check();
  const TimeLimit limit("a check that was left behind");
  shared->begun.wait();
  const auto start = Clock::now();
  check.reset();
  const auto taken = Clock::now() - start;
  // What it is given, and what a loaded machine may add to waking up.
  EXPECT_GE(taken, std::chrono::milliseconds(90));
  EXPECT_LT(taken, std::chrono::milliseconds(400));
  shared->may_end.count_down();
  shared->gone.wait();
  EXPECT_EQ(shared->reports, 0);
}

TEST(StartupUpdateCheck, closing_waits_for_a_report_that_has_begun) {
  Latch reporting(1);
  CancelSignal* signal = nullptr;
  bool ended = false;
  auto check = std::make_unique<StartupUpdateCheck>(
      [&](CancelSignal& cancel) {
        signal = &cancel;
        return kManifest;
      },
      [&](const UpdateResult&) {
        Latch closing(1);
        const CancelSignal::Wake wake(*signal, [&] { closing.count_down(); });
        reporting.count_down();
        closing.wait();
        ended = true;
      });
  check->request_check();
  const TimeLimit limit("the end of a report");
  reporting.wait();
  check.reset();
  EXPECT_TRUE(ended);
}

}  // namespace
}  // namespace hvt
