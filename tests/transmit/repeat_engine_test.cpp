// Risk: a packet is lost, doubled or written after a stop, an outcome is reported twice or to the wrong
// packet, or a worker sleeps through what should wake it.

#include "transmit/repeat_engine.h"

#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>

#include "tests/support/latch.h"
#include "tests/transmit/engine_rig.h"

namespace hvt::test {
namespace {

constexpr std::int32_t kForever = 99999999;

RepeatSettings settings(std::int32_t count, std::int32_t interval_ms, std::int32_t timeout_ms) {
  RepeatSettings result;
  result.repeat_count = count;
  result.interval_ms = interval_ms;
  result.wait_for_rx = timeout_ms != 0;
  result.rx_timeout_ms = timeout_ms;
  return result;
}

// Something that another thread does to the engine; what arrives meanwhile is told as "response 0 plain ".
using Meeting = std::function<std::string(EngineRig&)>;

std::string receive(EngineRig& rig) {
  return rig.receive() + " ";
}
std::string stop(EngineRig& rig) {
  rig.engine->stop();
  return {};
}
std::string clear_and_receive(EngineRig& rig) {
  rig.clear();
  return receive(rig);
}
std::string stop_and_receive(EngineRig& rig) {
  return stop(rig).append(receive(rig));
}
std::string receive_and_stop(EngineRig& rig) {
  return receive(rig).append(stop(rig));
}
std::string receive_twice_after_the_time_out(EngineRig& rig) {
  rig.system->advance(milliseconds(10));
  rig.log("1A wA@0 2A 3A t- 4 ");
  return receive(rig).append(receive(rig));
}
std::string stop_and_fail(EngineRig& rig) {
  rig.fail_writes(true);
  return stop(rig);
}
Meeting after(int ms, Meeting meeting) {
  return [=](EngineRig& rig) { return rig.system->advance(milliseconds(ms)), meeting(rig); };
}

// Every meeting of worker, reader and interface thread during one packet with a time-out of 10 ms; the same
// in a manual run and in a repeat run of one packet.
TEST(RepeatEngine, DecidesEveryMeetingOfItsThreadsOnce) {
  constexpr const char* kAsleep = "";
  const struct {
    std::string_view name;
    std::string when;  // the entry at which they meet, or while the worker is asleep
    Meeting meet;
    std::string log;
    std::string received;
  } cases[] = {
      {"answer during the write", "wA@0", receive, "1A wA@0 2A 2A t0 4 ", "response 0 "},
      {"answer while waiting", kAsleep, after(4, receive), "1A wA@0 2A 2A t4 4 ", "response 4 "},
      {"answer at the deadline", "2A", after(10, receive), "1A wA@0 2A 2A t10 4 ", "response 10 "},
      {"answer after the deadline", "2A", after(11, receive), "1A wA@0 2A t- 4 ", "late, timed out "},
      {"two answers after the time-out", kAsleep, receive_twice_after_the_time_out, "1A wA@0 2A 3A t- 4 ",
       "late plain "},
      {"stop during the write", "wA@0", stop_and_receive, "1A wA@0 2A 4 5 ", "plain "},
      {"stop as the write begins", "1A", stop, "1A wA@0 2A 4 5 ", ""},
      {"stop while waiting", kAsleep, stop, "1A wA@0 2A 4 5 ", ""},
      {"stop at the deadline", "2A", after(10, stop), "1A wA@0 2A 4 5 ", ""},
      {"stop, then an answer", "2A", stop_and_receive, "1A wA@0 2A 4 5 ", "plain "},
      {"an answer, then stop", "2A", receive_and_stop, "1A wA@0 2A 2A t0 5 ", "response 0 "},
      {"clear during the write", "wA@0", clear_and_receive, "1A wA@0 2A 4 4 ", "plain "},
      {"clear while waiting", kAsleep, clear_and_receive, "1A wA@0 2A 4 4 ", "plain "},
      {"stop during a write that then fails", "wA@0", stop_and_fail, "1A wA@0 ! d 6:broken ", ""},
  };
  for (const auto& c : cases) {
    for (const bool repeat : {false, true}) {
      EngineRig rig;
      std::string received;
      if (c.when != kAsleep) rig.at(c.when, elsewhere([&] { received = c.meet(rig); }));
      ASSERT_EQ(repeat ? rig.repeat("A", settings(1, 0, 10)) : rig.send("A", 10), L"");
      if (c.when == kAsleep) {
        ASSERT_TRUE(rig.system->wait_until_asleep()) << c.name;
        received = c.meet(rig);
      }
      const std::string log = std::string(repeat ? "0#1 " : "") + c.log;
      EXPECT_EQ(rig.log(log), log) << c.name;
      rig.engine->stop_and_join();
      EXPECT_EQ(rig.log(log), log) << c.name << ", after the end";
      EXPECT_EQ(received, c.received) << c.name;
    }
  }
}

// What keeps a worker asleep for 99999999 ms, and what must wake it at once: nothing polls here.
TEST(RepeatEngine, AnEndlessWaitEndsAtOnce) {
  const struct {
    std::string_view name;
    bool repeat;
    std::function<void(EngineRig&)> wake;
    std::string log;
  } cases[] = {
      {"answer", false, [](auto& rig) { rig.receive(); }, "1A wA@0 2A 2A t0 4 "},
      {"clear", false, [](auto& rig) { rig.clear(); }, "1A wA@0 2A 4 4 "},
      {"new entry", false, [](auto& rig) { rig.send("B"); }, "1A wA@0 2A 1B wB@0 2B 4 "},
      {"stop", false, [](auto& rig) { rig.engine->stop(); }, "1A wA@0 2A 4 5 "},
      {"destruction", false, [](auto& rig) { rig.engine.reset(); }, "1A wA@0 2A 4 5 "},
      {"stop between packets", true, [](auto& rig) { rig.engine->stop(); }, "0#1 1A wA@0 2A 5 "},
  };
  for (const auto& c : cases) {
    EngineRig rig(ManualSystem::Wakes::notified);
    ASSERT_EQ(c.repeat ? rig.repeat("AB", settings(1, kForever, 0)) : rig.send("A", kForever), L"");
    ASSERT_TRUE(rig.system->wait_until_asleep()) << c.name;
    c.wake(rig);
    EXPECT_EQ(rig.log(c.log), c.log) << c.name;
  }
}

TEST(RepeatEngine, PacesTheNextPacketFromTheEndOfTheWriteAndAtOnceAfterALongWait) {
  EngineRig rig;
  ASSERT_EQ(rig.repeat("AB", settings(2, 100, 500)), L"");
  std::string log = "0#1 1A wA@0 2A ";
  const auto step = [&](int wait_ms, bool answer, std::string_view more) {
    EXPECT_EQ(rig.log(log), log);
    rig.system->advance(milliseconds(wait_ms));
    if (answer) rig.receive();
    log += more;
  };
  step(30, true, "2A t30 ");
  step(70, false, "1B wB@100 2B ");
  step(150, true, "2B t150 0#2 1A wA@250 2A ");
  step(500, false, "3A t- 1B wB@750 2B ");
  step(5, true, "2B t5 4 ");
  EXPECT_EQ(rig.log(log), log);
  EXPECT_EQ(rig.receive(), "plain");
}

// The time-out of a run's only packet has been reported; what is an answer after that?
TEST(RepeatEngine, ALateAnswerIsMarkedUntilSomethingElseBeginsOrAStop) {
  for (const std::string_view then :
       {"late", "plain after a stop", "plain after a repeat", "plain after a packet that does not wait"}) {
    EngineRig rig;
    const bool stopped = then == "plain after a stop";
    ASSERT_EQ(rig.repeat("A", settings(stopped ? 2 : 1, kForever, 10)), L"");
    std::string log = "0#1 1A wA@0 2A ";
    EXPECT_EQ(rig.log(log), log);
    rig.system->advance(milliseconds(10));
    log += stopped ? "3A t- " : "3A t- 4 ";
    EXPECT_EQ(rig.log(log), log);
    std::string answer;
    if (then == "plain after a repeat") {
      rig.at("0#1", elsewhere([&] { answer = rig.receive(); }));
      ASSERT_EQ(rig.repeat("B", settings(1, 0, 10)), L"");
      rig.log(log + "0#1 1B ");
    }
    if (then == "plain after a packet that does not wait") {
      ASSERT_EQ(rig.send("B"), L"");
      rig.log(log + "1B wB@10 2B 4 ");
      answer = rig.receive();
    }
    if (then != "late") rig.engine->stop_and_join();
    if (answer.empty()) answer = rig.receive();
    EXPECT_EQ(answer, then.substr(0, answer.size()));
    EXPECT_NE(answer, "");
  }
}

TEST(RepeatEngine, ABurstBehindABlockedWriteGoesOutOnceInOrderAndOnlyItsLastPacketWaits) {
  EngineRig rig;
  rig.hold_writes(true);
  const std::string letters = "ABCDEFGHIJKLMNOPQRSTUVWX";
  std::string log;
  for (const char letter : letters) {
    const std::string name(1, letter);
    ASSERT_EQ(rig.send(name, 10), L"");
    for (const std::string_view kind : {"1", "w", "2"})
      log.append(kind).append(name).append(kind == "w" ? "@0 " : " ");
  }
  rig.hold_writes(false);
  EXPECT_EQ(rig.log(log), log);
  rig.system->advance(milliseconds(10));
  log += "3X t- 4 ";
  EXPECT_EQ(rig.log(log), log);
  EXPECT_EQ(rig.receive(), "late");
}

TEST(RepeatEngine, AnAnswerBelongsToThePacketThatWaitedWhenItCame) {
  EngineRig rig;
  rig.at("wA@0", elsewhere([&] {
           rig.send("B", 10);
           EXPECT_EQ(rig.receive(), "response 0");
         }));
  rig.at("wB@0", elsewhere([&] { rig.system->advance(milliseconds(3)); }));
  ASSERT_EQ(rig.send("A", 10), L"");
  const std::string log = "1A wA@0 2A 2A t0 1B wB@0 2B ";
  EXPECT_EQ(rig.log(log), log);
  rig.system->advance(milliseconds(4));
  EXPECT_EQ(rig.receive(), "response 4");
}

TEST(RepeatEngine, AFailedRunIsReportedOnceAndLeavesNothingBehind) {
  const struct {
    std::string_view name;
    std::function<void(EngineRig&)> failure;
    std::string manual;  // what comes after "wA@0"
    std::string repeat;
  } cases[] = {
      {"refused by the device", [](auto& rig) { rig.fail_writes(true); }, "! d 6:broken ", "! d 6:broken "},
      {"exception", [](auto&) { throw std::runtime_error("oops"); }, "6:oops ", "6:oops "},
      {"without a text", [](auto&) { throw 1; }, "6:Manual transmission failed. ",
       "6:Repeat transmission failed. "},
  };
  for (const auto& c : cases) {
    for (const bool repeat : {false, true}) {
      EngineRig rig;
      rig.at("wA@0", [&] {
        if (!repeat) {
          EXPECT_EQ(rig.send("B", 10), L"");
        }
        c.failure(rig);
      });
      ASSERT_EQ(repeat ? rig.repeat("AB", settings(9, 0, 10)) : rig.send("A", 10), L"");
      const std::string log =
          std::string(repeat ? "0#1 1A wA@0 " : "1A wA@0 ") + (repeat ? c.repeat : c.manual);
      EXPECT_EQ(rig.log(log), log) << c.name;
      EXPECT_EQ(rig.receive(), "plain") << c.name;
      rig.fail_writes(false);
      ASSERT_EQ(rig.send("C"), L"") << c.name;
      const std::string next = log + "1C wC@0 2C 4 ";
      EXPECT_EQ(rig.log(next), next) << c.name;
    }
  }
}

TEST(RepeatEngine, RefusesInvalidWorkBeforeAnythingElse) {
  EngineRig rig;
  rig.hold_writes(true);
  constexpr std::wstring_view kManual = L"Invalid manual transmission settings or packet data.";
  constexpr std::wstring_view kRepeat = L"Invalid repeat settings or packet data.";
  for (const bool running : {false, true}) {
    if (running) {
      ASSERT_EQ(rig.send(std::string(1500, 'A'), 10), L"");
    }
    EXPECT_EQ(rig.send(""), kManual);
    EXPECT_EQ(rig.send(std::string(1501, 'A')), kManual);
    for (const std::int32_t timeout : {-1, 9, 100000000})
      EXPECT_EQ(rig.send("A", timeout), kManual) << timeout;
    for (const auto& invalid : {settings(0, 0, 0), settings(10000, 0, 0), settings(1, -1, 0),
                                settings(1, 100000000, 0), settings(1, 0, 9), settings(1, 0, 100000000)})
      EXPECT_EQ(rig.repeat("A", invalid), kRepeat);
    EXPECT_EQ(rig.repeat("", settings(1, 0, 0)), kRepeat);
    EXPECT_EQ(rig.repeat("ABCDEFGHIJK", settings(1, 0, 0)), kRepeat);
    std::wstring error;
    EXPECT_FALSE(rig.engine->send_manual(Bytes{1}, {}, {}, {}, error));
    EXPECT_EQ(error, kManual);
    RepeatSettings two_packets;
    two_packets.end_packet = 2;
    EXPECT_FALSE(rig.engine->start_repeat(
        {Bytes{1}}, two_packets, [](auto&) {}, {}, error));
    EXPECT_EQ(error, kRepeat);
    EXPECT_EQ(rig.engine->activity() == RepeatEngine::Activity::manual, running);
  }
}

TEST(RepeatEngine, RefusesWhatCannotRunNowAndLeavesTheRunningWorkAlone) {
  constexpr std::wstring_view kRunning = L"Repeat transmission is already running.";
  {
    EngineRig rig;
    rig.hold_writes(true);
    ASSERT_EQ(rig.repeat("A", settings(1, 0, 0)), L"");
    EXPECT_EQ(rig.send("B"), kRunning);
    EXPECT_EQ(rig.repeat("B", settings(1, 0, 0)), kRunning);
    rig.hold_writes(false);
    EXPECT_EQ(rig.log("0#1 1A wA@0 2A 4 "), "0#1 1A wA@0 2A 4 ");
  }
  EngineRig rig;
  rig.hold_writes(true);
  ASSERT_EQ(rig.send("A"), L"");
  rig.log("1A wA@0 ");  // out of the queue
  for (std::size_t i = 0; i < RepeatEngine::kMaxQueued; ++i)
    ASSERT_EQ(rig.send("B"), L"");
  EXPECT_EQ(rig.send("C"), L"The manual transmission queue is full. Wait for queued packets to send.");
  EXPECT_EQ(rig.repeat("C", settings(1, 0, 0)), kRunning);
  std::string log = "1A wA@0 2A ";
  for (std::size_t i = 0; i < RepeatEngine::kMaxQueued; ++i)
    log += "1B wB@0 2B ";
  rig.at("2B", [&] { EXPECT_EQ(rig.send("D"), L""); });  // there is room again
  rig.hold_writes(false);
  log += "1D wD@0 2D 4 ";
  EXPECT_EQ(rig.log(log), log);

  rig.hold_writes(true);
  ASSERT_EQ(rig.send("A"), L"");
  rig.log(log + "1A wA@0 ");
  ASSERT_EQ(rig.send("B"), L"");
  rig.engine->stop();
  EXPECT_EQ(rig.send("C"), L"Manual transmission is stopping.");
  rig.hold_writes(false);
  log += "1A wA@0 2A 5 ";
  EXPECT_EQ(rig.log(log), log);
}

TEST(RepeatEngine, WithoutAThreadItIsIdleAndNothingIsQueued) {
  EngineRig rig;
  rig.system->refuse_threads(true);
  EXPECT_EQ(rig.send("A"), L"Could not start the transmission worker.");
  EXPECT_EQ(rig.repeat("A", settings(1, 0, 0)), L"Could not start the transmission worker.");
  EXPECT_EQ(rig.engine->activity(), RepeatEngine::Activity::idle);
  rig.system->refuse_threads(false);
  EXPECT_EQ(rig.send("B"), L"");
  EXPECT_EQ(rig.log("1B wB@0 2B 4 "), "1B wB@0 2B 4 ");
}

TEST(RepeatEngine, TakesPacketsFromItsOwnWorkerUntilTheRunIsOver) {
  constexpr std::wstring_view kCompleting = L"The previous transmission is still completing.";
  EngineRig rig;
  Latch tried(1);
  rig.at("2A", [&] { EXPECT_EQ(rig.send("B"), L""); });
  rig.at("4", [&] {
    EXPECT_EQ(rig.engine->activity(), RepeatEngine::Activity::idle);
    EXPECT_EQ(rig.send("C"), kCompleting);
    EXPECT_EQ(rig.repeat("C", settings(1, 0, 0)), kCompleting);
    rig.engine->stop_and_join();
    tried.count_down();
  });
  ASSERT_EQ(rig.send("A"), L"");
  const std::string log = "1A wA@0 2A 1B wB@0 2B 4 ";
  EXPECT_EQ(rig.log(log), log);
  tried.wait();
  EXPECT_EQ(rig.send("D"), L"");
  EXPECT_EQ(rig.log(log + "1D wD@0 2D 4 "), log + "1D wD@0 2D 4 ");
}

// Packets meet a worker in every state: writing, finishing, finished, gone.
TEST(RepeatEngine, StrandsNoPacketThatMeetsAFinishingWorker) {
  EngineRig rig;
  const auto nothing = [](const RepeatEvent&) {};
  std::atomic<int> written{0};
  RepeatEngine engine(rig.slot, {[&](auto, auto&) { return ++written > 0; }, [] {}});
  constexpr int kPackets = 3000;
  for (int i = 0; i < kPackets; ++i) {
    std::wstring error;
    ASSERT_TRUE(engine.send_manual(Bytes{1}, {}, nothing, {}, error)) << ::testing::PrintToString(error);
    // Pauses of any length; a starved worker must not let the queue fill up.
    for (int pause = i % 50; pause > 0 || i - written > 500; --pause)
      std::this_thread::yield();
  }
  while (engine.activity() != RepeatEngine::Activity::idle)
    std::this_thread::yield();
  EXPECT_EQ(written, kPackets);
}

TEST(RepeatEngine, CanBeDestroyedByItsOwnWorker) {
  struct Owner {
    explicit Owner(Latch& latch) : gone(latch) {}
    ~Owner() { gone.count_down(); }
    Latch& gone;
    std::unique_ptr<RepeatEngine> engine;
  };
  Latch started(1);
  Latch gone(1);
  auto last = std::make_shared<std::atomic<RepeatEventKind>>();
  {
    const auto owner = std::make_shared<Owner>(gone);
    owner->engine = std::make_unique<RepeatEngine>(
        std::make_shared<ResponseWaitSlot>(), RepeatEngine::Link{[](auto, auto&) { return true; }, [] {}});
    const auto on_event = [&started, owner, last](const RepeatEvent& event) {
      *last = event.kind;
      if (event.kind != RepeatEventKind::sent) return;
      started.wait();
      owner->engine.reset();
    };
    std::wstring error;
    ASSERT_TRUE(owner->engine->send_manual(Bytes{1}, {true, kForever}, on_event, {}, error));
    started.count_down();
  }
  gone.wait();
  EXPECT_EQ(*last, RepeatEventKind::stopped);
}

}  // namespace
}  // namespace hvt::test
