// Risk: an answer is measured from the wrong moment, judged against the wrong packet, or reported twice.

#include "transmit/response_wait.h"

#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>
#include <thread>
#include <vector>

#include "tests/support/latch.h"

namespace hvt {
namespace {

using std::chrono::milliseconds;

constexpr TimePoint at(int ms) {
  return TimePoint{} + milliseconds(1000 + ms);
}

// One line per call; every wait has a time-out of 10 ms. The newest wait is meant.
struct Step {
  enum Call { begin, arm, check, receive, cancel } call;
  int ms;
  std::string_view result = {};
};

std::string_view result_of(const std::optional<ReceiveTimingInfo>& timing) {
  if (!timing) return "plain";
  if (timing->kind == ReceiveTimingInfo::Kind::late) return timing->timeout_ms ? "late, timed out" : "late";
  if (timing->elapsed == milliseconds(0)) return "0 ms";
  return timing->elapsed == milliseconds(10) ? "10 ms" : "other";
}

TEST(ResponseWait, JudgesAnAnswerByTheLatestPacketAndItsDeadline) {
  const struct {
    std::string_view name;
    std::vector<Step> steps;
    WaitOutcome outcome;  // of the last wait
  } cases[] = {
      {"at the deadline",
       {{Step::begin, 0}, {Step::arm, 5}, {Step::receive, 15, "10 ms"}, {Step::check, 16, "no"}},
       WaitOutcome::response},
      {"during the write, stamped before it began",
       {{Step::begin, 0}, {Step::receive, -1, "0 ms"}, {Step::arm, 5}, {Step::check, 50, "no"}},
       WaitOutcome::response},
      {"the deadline counts from the end of the write",
       {{Step::begin, 0},
        {Step::check, 50, "no"},
        {Step::arm, 50},
        {Step::check, 59, "no"},
        {Step::check, 60, "yes"}},
       WaitOutcome::timed_out},
      {"late, before the worker noticed",
       {{Step::begin, 0},
        {Step::arm, 0},
        {Step::receive, 11, "late, timed out"},
        {Step::check, 12, "no"},
        {Step::receive, 13, "plain"}},
       WaitOutcome::timed_out},
      {"late, the time-out still unreported; the second chunk is plain",
       {{Step::begin, 0},
        {Step::arm, 0},
        {Step::check, 10, "yes"},
        {Step::receive, 20, "late, timed out"},
        {Step::receive, 21, "plain"}},
       WaitOutcome::timed_out},
      {"a new packet takes the wait over and drops the expired one",
       {{Step::begin, 0},
        {Step::arm, 0},
        {Step::check, 10, "yes"},
        {Step::begin, 11},
        {Step::arm, 11},
        {Step::receive, 21, "10 ms"},
        {Step::receive, 22, "plain"}},
       WaitOutcome::response},
      {"cancelled while waiting",
       {{Step::begin, 0},
        {Step::arm, 0},
        {Step::cancel, 1},
        {Step::check, 10, "no"},
        {Step::receive, 11, "plain"}},
       WaitOutcome::cancelled},
      {"cancelled after the time-out",
       {{Step::begin, 0},
        {Step::arm, 0},
        {Step::check, 10, "yes"},
        {Step::cancel, 11},
        {Step::receive, 12, "plain"}},
       WaitOutcome::timed_out},
  };
  for (const auto& c : cases) {
    ResponseWaitSlot slot;
    std::vector<std::shared_ptr<PendingResponseWait>> waits;
    for (const Step& step : c.steps) {
      std::string_view result;
      switch (step.call) {
        case Step::begin: waits.push_back(begin_wait(slot, at(step.ms), 10)); break;
        case Step::arm: waits.back()->arm(at(step.ms)); break;
        case Step::check: result = check_timeout(slot, waits.back(), at(step.ms)) ? "yes" : "no"; break;
        case Step::receive: result = result_of(on_received(slot, at(step.ms))); break;
        case Step::cancel: cancel_waits(slot, at(step.ms)); break;
      }
      EXPECT_EQ(result, step.result) << c.name << ", at " << step.ms << " ms";
    }
    EXPECT_EQ(waits.back()->outcome(), c.outcome) << c.name;
    for (std::size_t i = 0; i + 1 < waits.size(); ++i)
      EXPECT_NE(waits[i]->outcome(), WaitOutcome::pending) << c.name;
  }
}

TEST(ResponseWait, AWaitDecidedByAStopIsNoLongerAnswered) {
  ResponseWaitSlot slot;
  const auto wait = begin_wait(slot, at(0), 10);
  EXPECT_TRUE(wait->complete(WaitOutcome::cancelled, at(1)));
  EXPECT_FALSE(wait->complete(WaitOutcome::response, at(1)));
  EXPECT_FALSE(on_received(slot, at(2)).has_value());
  EXPECT_EQ(wait->outcome(), WaitOutcome::cancelled);
}

TEST(ResponseWait, RefusesTimeoutsOutOfRangeAndKeepsTheCurrentWait) {
  ResponseWaitSlot slot;
  const auto wait = begin_wait(slot, at(0), 99999999);
  for (const std::int32_t timeout : {-1, 0, 100000000})
    EXPECT_THROW(begin_wait(slot, at(1), timeout), std::invalid_argument) << timeout;
  EXPECT_EQ(wait->outcome(), WaitOutcome::pending);
}

// Worker, reader and interface thread meet at the deadline.
TEST(ResponseWait, ReportsATimeoutExactlyOnceWhoeverComesFirst) {
  for (int round = 0; round < 2000; ++round) {
    ResponseWaitSlot slot;
    const auto wait = begin_wait(slot, at(0), 10);
    wait->arm(at(0));
    std::atomic<int> reports{0};
    test::Latch ready(3);
    const auto thread = [&](auto act) {
      return std::jthread([&, act] {
        ready.count_down();
        ready.wait();
        act();
      });
    };
    {
      const auto worker = thread([&] {
        if (check_timeout(slot, wait, at(10)) && wait->claim_timeout()) ++reports;
      });
      const auto reader = thread([&] {
        const auto timing = on_received(slot, at(11));
        if (timing && timing->timeout_ms) ++reports;
      });
      const auto interface = thread([&] {
        if (round % 2 != 0) cancel_waits(slot, at(10));
      });
    }
    ASSERT_EQ(reports, wait->outcome() == WaitOutcome::timed_out ? 1 : 0);
    ASSERT_NE(wait->outcome(), WaitOutcome::pending);
  }
}

}  // namespace
}  // namespace hvt
