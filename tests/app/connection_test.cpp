// Risk: what workers hand over is lost or runs twice, the report of an ended attempt changes the next one,
// and a person is not told why there is no connection.

#include <gtest/gtest.h>

#include <memory>
#include <numeric>
#include <string>
#include <thread>
#include <vector>

#include "tests/app/program.h"
#include "tests/support/latch.h"

namespace hvt {
namespace {

using test::kUnplug;
using test::Program;

TEST(PostedTasks, RunInOrderEachOnceAlsoAfterARefusedPost) {
  Program program;
  std::vector<int> ran;
  program.window.refuse_posts(true);
  program.app.post_to_ui([&] { ran.push_back(0); });
  program.window.refuse_posts(false);
  program.window.tick();
  EXPECT_EQ(ran.size(), 1u);
  std::jthread([&] {
    for (int i = 1; i < 1000; ++i) {
      program.app.post_to_ui([&, i] {
        ran.push_back(i);
        if (i == 500) program.app.post_to_ui([&] { ran.push_back(1000); });
      });
    }
  }).join();
  ASSERT_TRUE(program.until([&] { return ran.size() == 1001; }));
  program.window.deliver();
  std::vector<int> expected(1001);
  std::iota(expected.begin(), expected.end(), 0);
  EXPECT_EQ(ran, expected);
}

TEST(Connection, ShowsEachState) {
  Program program;
  EXPECT_EQ(program.connection(), L"Connect");
  program.press(ControlId::connect);
  EXPECT_EQ(program.connection(), L"Connecting…");
  EXPECT_EQ(program.window.status(), L"Connecting to COM8");
  ASSERT_TRUE(program.status_becomes(L"Connected to COM8"));
  EXPECT_EQ(program.connection(), L"Connected");
  program.press(ControlId::connect);
  EXPECT_EQ(program.window.status(), L"Disconnected");
  EXPECT_EQ(program.connection(), L"Connect");
}

TEST(Connection, TellsWhyThereIsNone) {
  const TransportFactory denied = [](auto&, auto& error) {
    error = L"Access denied.";
    return nullptr;
  };
  struct Case {
    const char* name;
    test::Setup setup;
    std::wstring status;
  };
  const Case cases[] = {
      {"driver's words", {.open = denied}, L"Access denied."},
      {"no port", {.ports = [] { return std::vector<PortDescription>(); }}, L"Select a COM port first."},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    Program program(c.setup);
    program.press(ControlId::connect);
    EXPECT_TRUE(program.status_becomes(c.status));
    EXPECT_EQ(program.window.tone(), StatusTone::error);
    EXPECT_EQ(program.connection(), L"Connect");
  }
}

TEST(Connection, ATimeOutIsToldInSecondsAndThePortIsHeldUntilTheDriverReturns) {
  test::Latch let_go(1);
  Program program({.open = [&](const auto&, auto&) -> std::shared_ptr<SerialTransport> {
    let_go.wait();
    return nullptr;
  }});
  program.window.choose(ControlId::timeout, 0);  // 1 second, real time
  program.press(ControlId::connect);
  EXPECT_TRUE(program.status_becomes(L"Serial connection exceeded 1 sec."));
  program.press(ControlId::connect);
  EXPECT_EQ(
      program.window.status(),
      L"The previous connection attempt is still being cleaned up. Retry later or select another port.");
  let_go.count_down();
  EXPECT_TRUE(program.until([&] {
    program.press(ControlId::connect);
    return program.window.status() == L"Connecting to COM8";
  }));
  EXPECT_TRUE(program.status_becomes(L"Could not open serial port."));
}

TEST(Connection, AStaleOutcomeChangesNothing) {
  Program program;
  program.press(ControlId::connect);
  // The success is posted and not yet handled when the person cancels.
  ASSERT_TRUE(program.device->wait_until_reading());
  program.press(ControlId::connect);
  program.window.deliver();
  EXPECT_EQ(program.window.status(), L"Disconnected");
  EXPECT_EQ(program.connection(), L"Connect");
}

TEST(Connection, WhenLostLeavesItsTextAndItsPortAndCanBeMadeAgain) {
  std::vector<PortDescription> ports = test::two_ports();
  Program program({.ports = [&] { return ports; }});
  program.connect();
  program.feed("a");
  ASSERT_TRUE(program.shows(L"a"));
  kUnplug.happen(program);
  ASSERT_TRUE(program.status_becomes(kUnplug.status));
  EXPECT_EQ(program.window.tone(), StatusTone::error);
  EXPECT_EQ(program.window.shown(), L"a");
  ports.erase(ports.begin());
  program.press(ControlId::refresh);
  EXPECT_EQ(program.window.choice(ControlId::port).entries,
            (std::vector<std::wstring>{L"COM8", L"COM9 - CP210x"}));
  program.device = std::make_shared<test::ScriptedTransport>();
  program.connect_again();
  EXPECT_EQ(program.window.status(), L"Connected to COM8");
}

TEST(Connection, ANoisyLineReportsOneAtATimeAndFailedPollsAreShown) {
  Program program;
  program.connect();
  program.device->set_default_errors({.available = true, .mask = kCommFrame});
  for (int i = 0; i < 200; ++i)
    program.device->feed_idle();
  ASSERT_TRUE(program.device->wait_until_read_out());
  // One for the status, one that the reader may be about to make.
  EXPECT_LE(program.window.take_posted().size(), 2u);
  program.app.message(kTaskMessage, 0, 0);
  EXPECT_TRUE(program.window.status().starts_with(L"RX error: framing"));
  program.device->set_default_errors({.available = true});
  program.device->feed_query_failure(L"The handle is invalid.");
  program.device->feed_idle();
  EXPECT_TRUE(program.status_becomes(L"The handle is invalid."));
}

TEST(Controls, AreWrittenToWhenTheyChangeAndNotOtherwise) {
  Program program;
  const std::size_t before = program.window.writes();
  for (int i = 0; i < 100; ++i)
    program.press(ControlId::refresh);
  EXPECT_EQ(program.window.writes(), before);
  program.press(ControlId::line_break);
  EXPECT_EQ(program.window.writes(), before + 1);
}

}  // namespace
}  // namespace hvt
