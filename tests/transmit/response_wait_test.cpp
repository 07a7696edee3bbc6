// Risk: an answer is measured from the wrong moment, judged against the wrong packet, or reported twice.

#include "transmit/response_wait.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/latch.h"

namespace hvt {
namespace {

using std::chrono::milliseconds;

constexpr TimePoint at(int ms) {
  return TimePoint{} + milliseconds(1000 + ms);
}

std::string result_of(const std::optional<ReceiveTimingInfo>& timing) {
  if (!timing) return "plain";
  if (timing->kind == ReceiveTimingInfo::Kind::late) return timing->timeout_ms ? "late,timed-out" : "late";
  return std::to_string(static_cast<int>(timing->elapsed.count()));
}

// Carries out "call@ms:result" by "call@ms:result" and returns the script with the results that came about.
// Every wait has a time-out of 10 ms; check and arm mean the newest.
std::string run(const std::string& script) {
  ResponseWaitSlot slot;
  std::shared_ptr<PendingResponseWait> wait;
  std::istringstream calls(script);
  std::string done;
  for (std::string call, time; std::getline(calls, call, '@') && calls >> time >> std::ws;) {
    const std::string ms = time.substr(0, time.find(':'));
    const TimePoint now = at(std::stoi(ms));
    done.append(call).append("@").append(ms);
    if (call == "begin") wait = begin_wait(slot, now, 10);
    if (call == "arm") wait->arm(now);
    if (call == "check") done += check_timeout(slot, wait, now) ? ":expired" : ":no";
    if (call == "receive") done.append(":").append(result_of(on_received(slot, now)));
    if (call == "cancel") cancel_waits(slot, now);
    done += " ";
  }
  constexpr std::array kOutcomes{"pending", "response", "timed out", "cancelled"};
  return done + kOutcomes[static_cast<std::size_t>(wait->outcome())];
}

TEST(ResponseWait, JudgesAnAnswerByTheLatestPacketAndItsDeadline) {
  for (const std::string script : {
           "begin@0 arm@5 receive@15:10 check@16:no response",
           "begin@0 receive@-1:0 arm@5 check@50:no response",
           "begin@0 check@50:no arm@50 check@59:no check@60:expired timed out",
           "begin@0 arm@0 receive@11:late,timed-out check@12:no receive@13:plain timed out",
           "begin@0 arm@0 check@10:expired receive@20:late,timed-out receive@21:plain timed out",
           "begin@0 arm@0 check@10:expired begin@11 arm@11 receive@21:10 receive@22:plain response",
           "begin@0 arm@0 begin@5 check@10:no arm@11 receive@12:1 receive@13:plain response",
           "begin@0 arm@0 cancel@1 check@10:no receive@11:plain cancelled",
           "begin@0 arm@0 check@10:expired cancel@11 receive@12:plain timed out",
       })
    EXPECT_EQ(run(script), script);
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
  for (int round = 0; round < 300; ++round) {
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
