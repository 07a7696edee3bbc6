// Risk: what arrives is not shown, floods the message queue, or moves under a reader's eyes; a full or
// throttled display is not told.

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

#include "tests/app/program.h"
#include "ui/choices.h"

namespace hvt {
namespace {

// The program, to which a reader hands bytes without a line.
struct Viewing : test::Program {
  void receive(std::string_view text) {
    app.on_receive({text.begin(), text.end()}, std::chrono::steady_clock::now());
  }
  void receive_and_show(std::string_view text) {
    receive(text);
    for (int ticks = 0; ticks < 100; ++ticks)
      window.tick();
  }
  bool follow_can_be_pressed() const { return window.state(ControlId::follow).enabled; }
  bool followed() { return window.receive_view().updates().back().follow; }
};

TEST(View, OneWakeIsUnderWayHoweverManyChunksArrive) {
  Viewing program;
  program.window.take_posted();
  for (int i = 0; i < 100; ++i)
    program.receive("x");
  EXPECT_EQ(program.window.take_posted(), (std::vector{kDisplayMessage}));
  program.app.message(kDisplayMessage, 0, 0);
  EXPECT_EQ(program.window.shown(), std::wstring(100, L'x'));

  // A refused post must not mute the wake.
  program.window.refuse_posts(true);
  program.receive("y");
  program.window.refuse_posts(false);
  program.receive("z");
  EXPECT_EQ(program.window.take_posted(), (std::vector{kDisplayMessage}));

  // Input comes first: the wake does nothing, the timer pumps.
  program.window.input_waits = true;
  program.app.message(kDisplayMessage, 0, 0);
  EXPECT_EQ(program.window.shown(), std::wstring(100, L'x'));
  program.window.tick();
  EXPECT_EQ(program.window.shown(), std::wstring(100, L'x') + L"yz");
}

TEST(View, TheTimerRestsWhileNothingMoves) {
  using namespace std::chrono_literals;
  Viewing program;
  const auto& interval = program.window.timer_interval;
  const auto let_it_rest = [&] {  // what was shown last may be painted again for a while
    const auto end = std::chrono::steady_clock::now() + 10s;
    while (interval == DisplayPump::kTick && std::chrono::steady_clock::now() < end)
      program.window.tick();
    for (int ticks = 0; ticks < 30; ++ticks)  // a long rest
      program.window.tick();
    return interval;
  };
  for (int ticks = 0; ticks < 10; ++ticks)
    program.window.tick();
  EXPECT_EQ(interval, DisplayPump::kTick) << "something may still be held back";
  EXPECT_EQ(let_it_rest(), 500ms);
  EXPECT_EQ(program.window.timer_starts, 2);

  for (int chunks = 0; chunks < 10; ++chunks) {
    program.receive("x");
    program.window.deliver();
  }
  EXPECT_EQ(interval, DisplayPump::kTick);
  EXPECT_EQ(program.window.timer_starts, 3) << "a flow must not put off the timer";

  // What the wake leaves to the timer must not wait for a slow one.
  EXPECT_EQ(let_it_rest(), 500ms);
  program.window.input_waits = true;
  program.receive("y");
  program.window.deliver();
  EXPECT_EQ(interval, DisplayPump::kTick);
  program.window.tick();
  EXPECT_EQ(program.window.shown(), std::wstring(10, L'x') + L"y");
  program.window.input_waits = false;

  // The slow one finds what a refused wake did not tell; a larger buffer may have room for what waits.
  EXPECT_EQ(let_it_rest(), 500ms);
  program.window.refuse_posts(true);
  program.receive("z");
  program.window.tick();
  EXPECT_EQ(interval, DisplayPump::kTick);
  EXPECT_EQ(let_it_rest(), 500ms);
  program.window.choose(ControlId::buffer_size, 1);
  EXPECT_EQ(interval, DisplayPump::kTick);
}

TEST(View, ThatAPersonScrollsIsPausedUntilItIsToldToFollow) {
  Viewing program;
  program.receive_and_show("a");
  EXPECT_TRUE(program.followed());
  EXPECT_FALSE(program.follow_can_be_pressed());
  for (const ControlId end : {ControlId::follow, ControlId::clear}) {
    SCOPED_TRACE(control(end).name);
    program.window.receive_view().navigate();
    EXPECT_TRUE(program.follow_can_be_pressed());
    program.receive_and_show("b");
    EXPECT_FALSE(program.followed());
    EXPECT_TRUE(program.window.shown().ends_with(L"b"));
    program.press(end);
    EXPECT_FALSE(program.follow_can_be_pressed());
    program.receive_and_show("c");
    EXPECT_TRUE(program.followed());
  }
}

TEST(View, CountsItsLinesAndNoneAfterAClear) {
  Viewing program;
  const auto count = [&] { return program.window.counter(ControlId::line_count); };
  EXPECT_EQ(count(), L"Line Count : 0");
  program.press(ControlId::line_break);
  program.receive_and_show("a\nb");
  EXPECT_EQ(count(), L"Line Count : 2");
  program.receive("c");  // still on its way
  program.press(ControlId::clear);
  EXPECT_EQ(count(), L"Line Count : 0");
  program.window.tick();
  EXPECT_EQ(count(), L"Line Count : 0");
}

TEST(View, AFullDisplayIsToldAndEndsWithAClear) {
  Viewing program;
  program.window.receive_view().navigate();  // a paused view fills
  for (int i = 0; i < 4; ++i)
    program.receive_and_show(std::string(1 << 20, 'x'));
  EXPECT_TRUE(program.window.status().starts_with(L"Receive display is full. Screen updates were paused;"));
  EXPECT_EQ(program.window.tone(), StatusTone::error);
  program.press(ControlId::clear);
  EXPECT_EQ(program.window.tone(), StatusTone::plain);
  program.receive_and_show("y");
  EXPECT_EQ(program.window.shown(), L"y");
}

TEST(View, HoldsAsMuchAsIsChosen) {
  Viewing program;
  EXPECT_EQ(program.chosen(ControlId::buffer_size), L"1MB");
  program.window.choose(ControlId::buffer_size, 3);
  for (int i = 0; i < 6; ++i)
    program.receive_and_show(std::string(1 << 19, 'x'));
  EXPECT_EQ(program.window.shown().size(), 6u << 19);
  program.window.choose(ControlId::buffer_size, 1);
  EXPECT_EQ(program.window.shown().size(), 4u << 19);
}

TEST(View, HexAtHighSpeedIsToldToBeThrottledOncePerRun) {
  for (const bool fast : {false, true}) {
    test::Program program;
    program.window.choose(ControlId::baud, fast ? 11 : 10);  // 921600, 460800
    for (int i = 0; i < 2; ++i) {
      program.press(ControlId::receive_hex);
      program.press(ControlId::receive_ascii);
    }
    ASSERT_EQ(program.window.notices().size(), fast ? 1u : 0u);
    if (!fast) continue;
    EXPECT_EQ(program.window.notices()[0].first, L"HalvetricSerialTest");
    EXPECT_TRUE(program.window.notices()[0].second.starts_with(L"High-speed live Hex display is throttled"));
  }
  for (const wchar_t* const text : {L"", L"921599", L"+921600", L"921600 ", L"9216OO"})
    EXPECT_FALSE(is_high_speed(text)) << text;
  for (const wchar_t* const text : {L"921600", L"1500000", L"0921600", L"99999999999999999999"})
    EXPECT_TRUE(is_high_speed(text)) << text;
}

}  // namespace
}  // namespace hvt
