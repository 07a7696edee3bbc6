// Risk: the controller's marshalling and flows: order and completeness of what workers hand over, stale
// reports of ended attempts, and that nothing is shown as sent that was not.

#include "app/app.h"

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <memory>
#include <numeric>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/folder.h"
#include "tests/support/latch.h"
#include "tests/support/recording_window.h"
#include "tests/support/scripted_transport.h"
#include "ui/choices.h"

namespace hvt {
namespace {

using namespace std::chrono_literals;
using test::RecordingWindow;
using test::ScriptedTransport;

std::vector<PortDescription> two_ports() {
  return {{L"COM8", L""}, {L"COM9", L"CP210x"}};
}

// "[1.2 ms]" becomes "[t ms]".
std::wstring masked(std::wstring text) {
  for (std::size_t end = text.find(L" ms]"); end != text.npos; end = text.find(L" ms]", end + 1)) {
    const std::size_t begin = text.find_last_not_of(L"0123456789.", end - 1) + 1;
    text.replace(begin, end - begin, L"t");
    end = begin + 1;
  }
  return text;
}

// The program on a window double, with one scripted device behind both ports.
struct Program {
  explicit Program(TransportFactory factory = {}, PortSource ports = two_ports)
      : app(folder.path(),
            {.factory = factory ? std::move(factory) : [this](const auto&, auto&) { return device; },
             .port_source = std::move(ports)}),
        window(app) {
    app.attach(window);
  }
  ~Program() {
    app.closing();
    app.detach();
  }

  // Runs the message loop until the condition holds; false after 5 s.
  template <typename Condition>
  bool until(Condition&& condition) {
    const auto start = std::chrono::steady_clock::now();
    auto next_tick = start + DisplayPump::kTick;
    while (!condition()) {
      const auto now = std::chrono::steady_clock::now();
      if (now > start + 5s) return false;
      window.deliver();
      if (now >= next_tick) {
        window.tick();
        next_tick = now + DisplayPump::kTick;
      }
      std::this_thread::yield();
    }
    return true;
  }
  bool status_becomes(std::wstring_view text) {
    return until([&] { return window.status() == text; });
  }
  bool shows(std::wstring_view text) {
    return until([&] { return window.shown() == text; });
  }
  void connect() {
    app.command(ControlId::connect);
    ASSERT_TRUE(status_becomes(L"Connected to COM8"));
  }
  void open_transmit(std::wstring packet) {
    app.command(ControlId::transmit);
    app.command(ControlId::wait_for_rx);  // off
    window.type(packet_field(0), std::move(packet));
  }
  void wait_for_rx(std::wstring timeout) {
    app.command(ControlId::wait_for_rx);
    window.type(ControlId::rx_timeout, std::move(timeout));
  }
  // As shown, but for how long a response took.
  bool shows_masked(std::wstring_view text) {
    const bool shown = until([&] { return masked(window.shown()) == text; });
    if (!shown) ADD_FAILURE() << "shown is: " << testing::PrintToString(window.shown());
    return shown;
  }
  std::wstring_view repeat_caption() { return window.state(ControlId::repeat).caption; }

  std::shared_ptr<ScriptedTransport> device = std::make_shared<ScriptedTransport>();
  test::Folder folder;
  App app;
  RecordingWindow window;
};

TEST(App, RunsPostedTasksInOrderEachOnce) {
  Program program;
  std::vector<int> ran;
  std::jthread([&] {
    for (int i = 0; i < 1000; ++i) {
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

TEST(App, ConnectsShowsEachStateAndDisconnects) {
  Program program;
  const auto caption = [&] { return program.window.state(ControlId::connect).caption; };
  EXPECT_EQ(caption(), L"Connect");
  program.app.command(ControlId::connect);
  EXPECT_EQ(caption(), L"Connecting…");
  EXPECT_EQ(program.window.status(), L"Connecting to COM8");
  ASSERT_TRUE(program.status_becomes(L"Connected to COM8"));
  EXPECT_EQ(caption(), L"Connected");
  program.app.command(ControlId::connect);
  EXPECT_EQ(program.window.status(), L"Disconnected");
  EXPECT_EQ(caption(), L"Connect");
}

TEST(App, SaysWhyAConnectFailed) {
  struct Case {
    const char* name;
    TransportFactory factory;
    PortSource ports;
    std::wstring status;
  };
  const Case cases[] = {
      {"driver's words",
       [](auto&, auto& error) {
         error = L"Access denied.";
         return nullptr;
       },
       two_ports, L"Access denied."},
      {"no words", [](auto&, auto&) { return nullptr; }, two_ports, L"Could not open serial port."},
      {"no port", [](auto&, auto&) { return nullptr; }, [] { return std::vector<PortDescription>(); },
       L"Select a COM port first."},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    Program program(c.factory, c.ports);
    program.app.command(ControlId::connect);
    EXPECT_TRUE(program.status_becomes(c.status));
    EXPECT_EQ(program.window.tone(), StatusTone::error);
    EXPECT_EQ(program.window.state(ControlId::connect).caption, L"Connect");
  }
}

TEST(App, ATimeOutIsToldInSecondsAndThePortIsHeldUntilTheDriverReturns) {
  test::Latch let_go(1);
  Program program([&](const auto&, auto&) -> std::shared_ptr<SerialTransport> {
    let_go.wait();
    return nullptr;
  });
  program.window.choose(ControlId::timeout, 0);  // 1 second, real time
  program.app.command(ControlId::connect);
  EXPECT_TRUE(program.status_becomes(L"Serial connection exceeded 1 sec."));
  program.app.command(ControlId::connect);
  EXPECT_EQ(
      program.window.status(),
      L"The previous connection attempt is still being cleaned up. Retry later or select another port.");
  let_go.count_down();
  EXPECT_TRUE(program.until([&] {
    program.app.command(ControlId::connect);
    return program.window.status() == L"Connecting to COM8";
  }));
  EXPECT_TRUE(program.status_becomes(L"Could not open serial port."));
}

TEST(App, AStaleOutcomeChangesNothing) {
  Program program;
  program.app.command(ControlId::connect);
  // The success is posted and not yet handled when the person cancels.
  ASSERT_TRUE(program.device->wait_until_reading());
  program.app.command(ControlId::connect);
  program.window.deliver();
  EXPECT_EQ(program.window.status(), L"Disconnected");
  EXPECT_EQ(program.window.state(ControlId::connect).caption, L"Connect");
}

TEST(App, ALostConnectionIsShownAndCanBeMadeAgain) {
  Program program;
  program.connect();
  program.device->feed({'a'});
  ASSERT_TRUE(program.shows(L"a"));
  program.device->unplug(L"The serial device was removed.");
  ASSERT_TRUE(program.status_becomes(L"The serial device was removed."));
  EXPECT_EQ(program.window.tone(), StatusTone::error);
  EXPECT_EQ(program.window.shown(), L"a");
  program.device = std::make_shared<ScriptedTransport>();
  ASSERT_TRUE(program.until([&] {  // the reader of the lost connection may still be leaving
    program.app.command(ControlId::connect);
    return program.window.state(ControlId::connect).caption != L"Connect";
  }));
  ASSERT_TRUE(program.status_becomes(L"Connected to COM8"));
}

TEST(App, OneWakeIsUnderWayHoweverManyChunksArrive) {
  Program program;
  program.window.take_posted();
  const auto now = std::chrono::steady_clock::now();
  for (int i = 0; i < 100; ++i)
    program.app.on_receive({'x'}, now);
  EXPECT_EQ(program.window.take_posted(), (std::vector{kDisplayMessage}));
  program.app.message(kDisplayMessage, 0, 0);
  EXPECT_EQ(program.window.shown(), std::wstring(100, L'x'));

  // A refused post must not mute the wake.
  program.window.refuse_posts(true);
  program.app.on_receive({'y'}, now);
  program.window.refuse_posts(false);
  program.app.on_receive({'z'}, now);
  EXPECT_EQ(program.window.take_posted(), (std::vector{kDisplayMessage}));

  // Input comes first: the wake does nothing, the timer pumps.
  program.window.input_waits = true;
  program.app.message(kDisplayMessage, 0, 0);
  EXPECT_EQ(program.window.shown(), std::wstring(100, L'x'));
  program.window.tick();
  EXPECT_EQ(program.window.shown(), std::wstring(100, L'x') + L"yz");
}

TEST(App, RefusesToSendWithoutAConnectionOrAPacket) {
  Program program;
  program.open_transmit(L"hello");
  program.app.command(send_button(0));
  EXPECT_EQ(program.window.status(), L"Connect to a COM port first.");
  program.connect();
  program.window.type(packet_field(0), L"\\q");
  program.app.command(packet_field(0));
  EXPECT_EQ(program.window.status(), L"Unsupported escape character.");
  program.app.command(ControlId::transmit);  // folded: a stale click is refused without a trace
  program.window.type(packet_field(0), L"hello");
  program.app.command(send_button(0));
  program.app.command(ControlId::repeat);
  EXPECT_EQ(program.repeat_caption(), L"Repeat Send");
  EXPECT_EQ(program.window.status(), L"Unsupported escape character.");
  EXPECT_TRUE(program.device->writes().empty());
}

TEST(App, ASentPacketStandsBeforeItsReplyEvenIfTheReplyIsFaster) {
  Program program;
  program.connect();
  program.open_transmit(L"PING");
  program.app.command(ControlId::auto_crlf);
  program.device->set_write_mode(ScriptedTransport::WriteMode::kBlock);
  program.app.command(send_button(0));
  ASSERT_TRUE(program.device->wait_until_write_blocks());
  program.device->feed({'P', 'O', 'N', 'G'});
  ASSERT_TRUE(program.device->wait_until_read_out());
  ASSERT_TRUE(program.device->wait_until_reading());  // the next read: PONG is delivered
  program.window.tick();
  EXPECT_EQ(program.window.shown(), L"");
  program.device->set_write_mode(ScriptedTransport::WriteMode::kAccept);
  EXPECT_TRUE(program.shows(L"[TX] PING<CR><LF>\r\n[RX] PONG"));
}

TEST(App, ABurstOfClicksIsSentOnceEachInOrder) {
  Program program;
  program.connect();
  program.open_transmit(L"");
  program.device->set_write_mode(ScriptedTransport::WriteMode::kBlock);
  std::vector<ScriptedTransport::Bytes> expected;
  std::wstring shown;
  for (int i = 0; i < 24; ++i) {  // the first write blocks; each packet is what it was at its click
    const wchar_t letter = static_cast<wchar_t>(L'a' + i);
    program.window.type(packet_field(0), std::wstring(1, letter));
    program.app.command(packet_field(0));
    expected.push_back({static_cast<std::uint8_t>(letter)});
    shown.append(i == 0 ? L"[TX] " : L"\r\n[TX] ").push_back(letter);
  }
  program.device->set_write_mode(ScriptedTransport::WriteMode::kAccept);
  EXPECT_TRUE(program.shows(shown));
  EXPECT_EQ(program.device->writes(), expected);
}

TEST(App, AFailedWriteIsToldOnceAndNothingAppearsAsSent) {
  Program program;
  program.connect();
  program.open_transmit(L"PING");
  program.device->set_write_mode(ScriptedTransport::WriteMode::kBlock);
  for (int i = 0; i < 5; ++i)
    program.app.command(send_button(0));
  ASSERT_TRUE(program.device->wait_until_write_blocks());
  program.device->feed({'A'});
  program.device->set_write_mode(ScriptedTransport::WriteMode::kFail, L"Serial write exceeded 500 ms.");
  ASSERT_TRUE(program.status_becomes(L"Serial write exceeded 500 ms."));
  EXPECT_EQ(program.window.state(ControlId::connect).caption, L"Connect");
  program.window.tick();
  EXPECT_TRUE(program.window.shown().find(L"PING") == std::wstring::npos) << "shown as sent";
  EXPECT_TRUE(program.device->writes().empty());
}

TEST(App, AnEndedConnectionHasTheLastWordOverItsBlockedWrite) {
  struct Case {
    const char* name;
    std::function<void(Program&)> end;
    std::wstring status;
  };
  const Case cases[] = {
      {"disconnect", [](auto& program) { program.app.command(ControlId::connect); }, L"Disconnected"},
      {"unplug", [](auto& program) { program.device->unplug(L"The serial device was removed."); },
       L"The serial device was removed."},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    Program program;
    program.connect();
    program.open_transmit(L"PING");
    program.device->set_write_mode(ScriptedTransport::WriteMode::kBlock);
    program.app.command(send_button(0));
    ASSERT_TRUE(program.device->wait_until_write_blocks());
    c.end(program);
    ASSERT_TRUE(
        program.until([&] { return program.window.state(ControlId::connect).caption == L"Connect"; }));
    program.app.closing();  // the writer has ended by now
    program.window.deliver();
    EXPECT_EQ(program.window.status(), c.status);
    EXPECT_EQ(program.window.shown(), L"");
  }
}

TEST(App, WhatBecameOfAPacketStandsBehindIt) {
  Program program;
  program.connect();
  program.open_transmit(L"A");
  program.wait_for_rx(L"99999999");
  program.app.command(send_button(0));
  ASSERT_TRUE(program.shows(L"[TX] A"));
  program.device->feed({'a'});
  ASSERT_TRUE(program.shows_masked(L"[TX] A [t ms]\r\n[RX] a"));
  program.device->feed({'b'});  // answers nothing
  ASSERT_TRUE(program.shows_masked(L"[TX] A [t ms]\r\n[RX] ab"));

  program.app.command(ControlId::clear);
  program.window.type(ControlId::rx_timeout, L"10");
  program.app.command(send_button(0));
  ASSERT_TRUE(program.shows(L"[TX] A [TIMEOUT]"));
  program.device->feed({'c'});
  ASSERT_TRUE(program.shows(L"[TX] A [TIMEOUT] [LATE]\r\n[RX] c"));

  // A packet that is not shown says nothing at the line of the one before.
  program.app.command(ControlId::clear);
  program.app.command(ControlId::wait_for_rx);
  program.app.command(send_button(0));
  ASSERT_TRUE(program.shows(L"[TX] A"));
  program.app.command(ControlId::echo_sent);
  program.app.command(ControlId::wait_for_rx);
  program.app.command(send_button(0));
  EXPECT_TRUE(program.shows(L"[TX] A\r\n[TIMEOUT]\r\n"));
}

TEST(App, OnlyTheLastPacketOfABurstWaits) {
  Program program;
  program.connect();
  program.open_transmit(L"A");
  program.wait_for_rx(L"99999999");
  program.device->set_write_mode(ScriptedTransport::WriteMode::kBlock);
  for (int i = 0; i < 3; ++i)
    program.app.command(send_button(0));
  program.window.type(ControlId::rx_timeout, L"nonsense");  // they keep what they were clicked with
  program.app.command(send_button(0));
  EXPECT_EQ(program.window.status(), L"RX Timeout: enter a valid number.");
  program.device->set_write_mode(ScriptedTransport::WriteMode::kAccept);
  ASSERT_TRUE(program.shows(L"[TX] A\r\n[TX] A\r\n[TX] A"));
  const std::wstring status = program.window.status();
  program.app.command(ControlId::repeat);  // ignored, and the wait goes on
  EXPECT_EQ(program.repeat_caption(), L"Repeat Send");
  EXPECT_EQ(program.window.status(), status);
  program.device->feed({'x'});
  EXPECT_TRUE(program.shows_masked(L"[TX] A\r\n[TX] A\r\n[TX] A [t ms]\r\n[RX] x"));
}

TEST(App, AnAnswerToAPacketThatFailedIsNotThatOfThePacketBefore) {
  Program program;
  program.connect();
  program.open_transmit(L"A");
  program.wait_for_rx(L"99999999");
  program.app.command(send_button(0));
  ASSERT_TRUE(program.shows(L"[TX] A"));
  program.device->set_write_mode(ScriptedTransport::WriteMode::kBlock);
  program.app.command(send_button(0));
  ASSERT_TRUE(program.device->wait_until_write_blocks());
  program.device->feed({'x'});
  ASSERT_TRUE(program.device->wait_until_read_out());
  ASSERT_TRUE(program.device->wait_until_reading());  // the next read: x is delivered
  program.device->set_write_mode(ScriptedTransport::WriteMode::kFail, L"Broken.");
  ASSERT_TRUE(program.status_becomes(L"Broken."));
  EXPECT_TRUE(program.shows(L"[TX] A\r\n[RX] x"));
}

TEST(App, TheFirstBytesOfANewConnectionAnswerNoPacketOfTheOldOne) {
  struct Case {
    const char* name;
    std::function<void(Program&)> end;
  };
  const Case cases[] = {
      {"disconnect", [](auto& program) { program.app.command(ControlId::connect); }},
      {"unplug", [](auto& program) { program.device->unplug(L"The serial device was removed."); }},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    Program program;
    program.connect();
    program.open_transmit(L"A");
    program.wait_for_rx(L"10");
    program.app.command(send_button(0));
    ASSERT_TRUE(program.shows(L"[TX] A [TIMEOUT]"));
    c.end(program);
    ASSERT_TRUE(
        program.until([&] { return program.window.state(ControlId::connect).caption == L"Connect"; }));
    program.device = std::make_shared<ScriptedTransport>();
    program.device->feed({'x'});
    ASSERT_TRUE(program.until([&] {  // the reader of the ended connection may still be leaving
      program.app.command(ControlId::connect);
      return program.window.state(ControlId::connect).caption != L"Connect";
    }));
    EXPECT_TRUE(program.shows(L"[TX] A [TIMEOUT]\r\n[RX] x"));
  }
}

TEST(App, AClearForgetsTheWait) {
  Program program;
  program.connect();
  program.open_transmit(L"A");
  program.wait_for_rx(L"10");
  program.app.command(send_button(0));
  ASSERT_TRUE(program.shows(L"[TX] A [TIMEOUT]"));
  program.app.command(ControlId::clear);
  program.device->feed({'x'});  // would be late
  ASSERT_TRUE(program.shows(L"[RX] x"));

  program.window.type(ControlId::rx_timeout, L"200");
  program.app.command(send_button(0));
  ASSERT_TRUE(program.device->wait_for_writes(2));
  program.app.command(ControlId::clear);
  ASSERT_TRUE(program.until([&] {  // taken when the worker has let go of the wait
    program.app.command(ControlId::repeat);
    return program.repeat_caption() == L"Stop";
  }));
  ASSERT_TRUE(program.until([&] { return !program.window.shown().empty(); }));
  EXPECT_TRUE(program.window.shown().starts_with(L"---")) << "an orphan in the cleared view";
}

TEST(App, RepeatsWithSeparatorsAndUnlocksAtTheEnd) {
  Program program;
  program.connect();
  program.open_transmit(L"A");
  program.window.type(packet_field(1), L"B");
  program.window.type(ControlId::repeat_count, L"2");
  program.window.type(ControlId::end_packet, L"2");
  program.window.type(ControlId::interval, L"0");
  program.app.command(ControlId::repeat);
  const std::wstring first = L"-------------------- Repeat 1/2 --------------------\r\n[TX] A\r\n[TX] B\r\n";
  const std::wstring second = L"-------------------- Repeat 2/2 --------------------\r\n[TX] A\r\n[TX] B";
  EXPECT_TRUE(program.shows(first + second));
  EXPECT_TRUE(program.until([&] { return program.repeat_caption() == L"Repeat Send"; }));
  EXPECT_TRUE(program.window.state(ControlId::transmit).enabled);
}

TEST(App, ARepeatRunCanBeStoppedAtAnyPoint) {
  struct Case {
    const char* name;
    std::function<void(Program&)> begin;
  };
  const Case cases[] = {
      {"while it waits for a response",
       [](Program& program) {
         program.wait_for_rx(L"99999999");
         program.app.command(ControlId::repeat);
         ASSERT_TRUE(program.device->wait_for_writes(1));
       }},
      {"while it rests",
       [](Program& program) {
         program.window.type(ControlId::interval, L"99999999");
         program.app.command(ControlId::repeat);
         ASSERT_TRUE(program.device->wait_for_writes(1));
       }},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    Program program;
    program.connect();
    program.open_transmit(L"A");
    c.begin(program);
    EXPECT_EQ(program.repeat_caption(), L"Stop");
    EXPECT_FALSE(program.window.state(ControlId::transmit).enabled);
    program.app.command(ControlId::transmit);  // a stale click does not fold the running panel
    EXPECT_TRUE(program.window.state(ControlId::repeat).visible);
    program.app.command(ControlId::repeat);
    EXPECT_TRUE(program.until([&] { return program.repeat_caption() == L"Repeat Send"; }));
    EXPECT_TRUE(program.window.state(ControlId::transmit).enabled);
    EXPECT_TRUE(program.shows(L"-------------------- Repeat 1/3 --------------------\r\n[TX] A"));
    EXPECT_EQ(program.window.status(), L"Connected to COM8");
  }
}

TEST(App, ARepeatRunStopsWithItsConnection) {
  struct Case {
    const char* name;
    std::function<void(Program&)> end;
    std::wstring status;
  };
  const Case cases[] = {
      {"disconnect", [](auto& program) { program.app.command(ControlId::connect); }, L"Disconnected"},
      {"unplug", [](auto& program) { program.device->unplug(L"The serial device was removed."); },
       L"The serial device was removed."},
      {"failed write",
       [](auto& program) { program.device->set_write_mode(ScriptedTransport::WriteMode::kFail, L"Broken."); },
       L"Broken."},
      {"failed write after a stop",
       [](auto& program) {
         program.app.command(ControlId::repeat);
         EXPECT_EQ(program.repeat_caption(), L"Stopping...");
         program.device->set_write_mode(ScriptedTransport::WriteMode::kFail, L"Broken.");
       },
       L"Broken."},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    Program program;
    program.connect();
    program.open_transmit(L"A");
    program.device->set_write_mode(ScriptedTransport::WriteMode::kBlock);
    program.app.command(ControlId::repeat);
    ASSERT_TRUE(program.device->wait_until_write_blocks());
    EXPECT_EQ(program.repeat_caption(), L"Stop");
    c.end(program);
    EXPECT_TRUE(program.status_becomes(c.status));
    EXPECT_TRUE(program.until([&] { return program.repeat_caption() == L"Repeat Send"; }));
    EXPECT_EQ(program.window.state(ControlId::connect).caption, L"Connect");
    program.window.tick();
    EXPECT_EQ(program.window.shown(), L"-------------------- Repeat 1/3 --------------------\r\n");
  }
}

TEST(App, ARepeatRunIsRefusedForWhatIsWrongWithIt) {
  struct Case {
    ControlId field;
    std::wstring text;
    std::wstring status;
  };
  const Case cases[] = {
      {ControlId::repeat_count, L"10000", L"Invalid repeat count (1-9999)."},
      {ControlId::start_packet, L"", L"Enter start packet (1-10)."},
      {ControlId::end_packet, L"0", L"Out-of-range end packet (1-10)."},
      {ControlId::start_packet, L"2", L"Start packet must not exceed end packet."},
      {ControlId::interval, L"1.5", L"Invalid interval (0-99999999 ms)."},
      {packet_field(0), L"", L"The send data is empty."},
  };
  for (const Case& c : cases) {
    Program program;
    program.open_transmit(L"A");
    program.app.command(ControlId::repeat);
    EXPECT_EQ(program.window.status(), L"Connect to a COM port first.");
    program.connect();
    program.window.type(c.field, c.text);
    program.app.command(ControlId::repeat);
    EXPECT_EQ(program.window.status(), c.status);
    EXPECT_EQ(program.repeat_caption(), L"Repeat Send");
    // None of it matters to a single packet.
    if (c.field == packet_field(0)) continue;
    program.app.command(send_button(0));
    EXPECT_TRUE(program.shows(L"[TX] A"));
  }
}

TEST(App, ANoisyLineReportsOneAtATimeAndFailedPollsAreShown) {
  Program program;
  program.connect();
  program.device->set_default_errors({.available = true, .mask = kCommFrame});
  for (int i = 0; i < 200; ++i)
    program.device->feed_idle();
  ASSERT_TRUE(program.device->wait_until_read_out());
  EXPECT_LE(program.window.take_posted().size(),
            2u);  // one for the status, one the reader may be about to make
  program.app.message(kTaskMessage, 0, 0);
  EXPECT_TRUE(program.window.status().starts_with(L"RX error: framing"));
  program.device->set_default_errors({.available = true});
  program.device->feed_query_failure(L"The handle is invalid.");
  program.device->feed_idle();
  EXPECT_TRUE(program.status_becomes(L"The handle is invalid."));
}

TEST(App, ARefusedPostOnlyDelaysATask) {
  Program program;
  program.window.refuse_posts(true);
  bool ran = false;
  program.app.post_to_ui([&] { ran = true; });
  program.window.refuse_posts(false);
  program.window.tick();
  EXPECT_TRUE(ran);
}

TEST(App, AnUnpluggedPortStaysChosenThroughRefreshes) {
  std::vector<PortDescription> ports = two_ports();
  Program program({}, [&] { return ports; });
  program.connect();
  program.device->unplug(L"The serial device was removed.");
  ASSERT_TRUE(program.status_becomes(L"The serial device was removed."));
  ports = {{L"COM9", L"CP210x"}};
  program.app.command(ControlId::refresh);
  EXPECT_EQ(program.window.choice(ControlId::port).entries,
            (std::vector<std::wstring>{L"COM8", L"COM9 - CP210x"}));
  ports = two_ports();
  program.app.command(ControlId::refresh);
  program.device = std::make_shared<ScriptedTransport>();
  ASSERT_TRUE(program.until([&] {
    program.app.command(ControlId::connect);
    return program.window.state(ControlId::connect).caption != L"Connect";
  }));
  ASSERT_TRUE(program.status_becomes(L"Connected to COM8"));
}

TEST(App, AClearDuringAWriteLeavesNothingThatComesBack) {
  struct Case {
    const char* name;
    bool direct;
  };
  for (const Case& c : {Case{"queued packet: the clear does not wait for it", false},
                        Case{"direct write: the clear waits", true}}) {
    SCOPED_TRACE(c.name);
    Program program;
    program.connect();
    program.open_transmit(L"PING");
    program.device->feed({'o', 'l', 'd'});
    ASSERT_TRUE(program.shows(L"[RX] old"));
    program.device->set_write_mode(ScriptedTransport::WriteMode::kBlock);
    std::jthread writer;
    if (c.direct) {
      writer = std::jthread([&] {
        std::wstring error;
        EXPECT_TRUE(program.app.direct_write(ScriptedTransport::Bytes{'D'}, error));
      });
    } else {
      program.app.command(send_button(0));
    }
    ASSERT_TRUE(program.device->wait_until_write_blocks());
    std::jthread device;
    if (c.direct)
      device = std::jthread([&] { program.device->set_write_mode(ScriptedTransport::WriteMode::kAccept); });
    program.app.command(ControlId::clear);
    EXPECT_EQ(program.device->writes().size(), c.direct ? 1u : 0u);
    program.device->set_write_mode(ScriptedTransport::WriteMode::kAccept);
    ASSERT_TRUE(program.device->wait_for_writes(1));
    program.device->feed({'n', 'e', 'w'});
    EXPECT_TRUE(program.shows(L"[RX] new"));
  }
}

TEST(App, ADirectWriteIsShownOrTellsWhyNot) {
  Program program;
  const ScriptedTransport::Bytes packet{'D'};
  std::wstring error;
  EXPECT_FALSE(program.app.direct_write(packet, error));
  EXPECT_EQ(error, L"Connect to a COM port first.");
  program.connect();
  program.open_transmit(L"A");
  program.wait_for_rx(L"99999999");
  program.app.command(send_button(0));
  ASSERT_TRUE(program.shows(L"[TX] A"));
  program.device->set_write_mode(ScriptedTransport::WriteMode::kBlock);
  std::jthread writer([&] {
    std::wstring no_error;
    EXPECT_TRUE(program.app.direct_write(packet, no_error));
  });
  ASSERT_TRUE(program.device->wait_until_write_blocks());
  EXPECT_FALSE(program.app.direct_write(packet, error));
  EXPECT_EQ(error, L"A transmission is already in progress.");
  program.device->set_write_mode(ScriptedTransport::WriteMode::kAccept);
  ASSERT_TRUE(program.shows(L"[TX] A\r\n[TX] D"));
  program.device->feed({'x'});  // an answer to neither
  EXPECT_TRUE(program.shows(L"[TX] A\r\n[TX] D\r\n[RX] x"));
}

TEST(App, AViewThatAPersonScrollsIsPausedUntilItIsToldToFollow) {
  Program program;
  const auto now = std::chrono::steady_clock::now();
  const auto& view = program.window.receive_view();
  const auto follow_button = [&] { return program.window.state(ControlId::follow); };
  program.app.on_receive({'a'}, now);
  program.window.tick();
  EXPECT_TRUE(view.updates().back().follow);
  EXPECT_FALSE(follow_button().enabled);
  program.window.receive_view().navigate();
  EXPECT_TRUE(follow_button().enabled);
  EXPECT_EQ(follow_button().tip, L"Follow latest received data");
  program.app.on_receive({'b'}, now);
  program.window.tick();
  EXPECT_FALSE(view.updates().back().follow);
  EXPECT_EQ(program.window.shown(), L"ab");
  program.app.command(ControlId::follow);
  EXPECT_FALSE(follow_button().enabled);
  EXPECT_TRUE(view.updates().back().follow);
  program.window.receive_view().navigate();
  program.app.command(ControlId::clear);
  EXPECT_FALSE(follow_button().enabled);
  program.app.on_receive({'c'}, now);
  program.window.tick();
  EXPECT_TRUE(view.updates().back().follow);
}

TEST(App, TheLineCountIsTheViewsAndZeroAfterAClear) {
  Program program;
  const auto count = [&] { return program.window.counter(ControlId::line_count); };
  EXPECT_EQ(count(), L"Line Count : 0");
  program.app.command(ControlId::line_break);
  program.app.on_receive({'a', '\n', 'b'}, std::chrono::steady_clock::now());
  program.window.tick();
  EXPECT_EQ(count(), L"Line Count : 2");
  program.app.on_receive({'c'}, std::chrono::steady_clock::now());  // still on its way
  program.app.command(ControlId::clear);
  EXPECT_EQ(count(), L"Line Count : 0");
  program.window.tick();
  EXPECT_EQ(count(), L"Line Count : 0");
}

TEST(App, AFullDisplayIsToldAndEndsWithAClear) {
  Program program;
  program.window.receive_view().navigate();  // a paused view fills
  const std::vector<std::uint8_t> chunk(1 << 20, 'x');
  for (int i = 0; i < 4; ++i) {
    program.app.on_receive(chunk, std::chrono::steady_clock::now());
    for (int runs = 0; runs < 100; ++runs)
      program.window.tick();
  }
  EXPECT_TRUE(program.window.status().starts_with(L"Receive display is full. Screen updates were paused;"));
  EXPECT_EQ(program.window.tone(), StatusTone::error);
  program.app.command(ControlId::clear);
  EXPECT_EQ(program.window.tone(), StatusTone::plain);
  program.app.on_receive({'y'}, std::chrono::steady_clock::now());
  program.window.tick();
  EXPECT_EQ(program.window.shown(), L"y");
}

TEST(App, ASmallerBufferTakesEffectAtOnce) {
  Program program;
  EXPECT_EQ(program.window.choice(ControlId::buffer_size).entries,
            (std::vector<std::wstring>{L"1MB", L"2MB", L"3MB", L"4MB"}));
  EXPECT_EQ(program.window.choice(ControlId::buffer_size).selected, 0u);
  program.window.choose(ControlId::buffer_size, 3);
  for (int i = 0; i < 6; ++i) {
    program.app.on_receive(std::vector<std::uint8_t>(1 << 19, 'x'), std::chrono::steady_clock::now());
    for (int runs = 0; runs < 100; ++runs)
      program.window.tick();
  }
  EXPECT_EQ(program.window.shown().size(), 6u << 19);
  program.window.choose(ControlId::buffer_size, 1);
  EXPECT_EQ(program.window.shown().size(), 4u << 19);
}

TEST(App, HexAtHighSpeedIsToldToBeThrottledOncePerRun) {
  for (const bool fast : {false, true}) {
    Program program;
    program.window.choose(ControlId::baud, fast ? 11 : 10);  // 921600, 460800
    for (int i = 0; i < 2; ++i) {
      program.app.command(ControlId::receive_hex);
      program.app.command(ControlId::receive_ascii);
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

TEST(App, HexInputIsSpacedWhileTyping) {
  Program program;
  program.open_transmit(L"0243");
  EXPECT_EQ(program.window.field_text(packet_field(0)), L"0243");
  program.app.command(ControlId::send_hex);
  program.window.type(packet_field(0), L"02434d44");
  EXPECT_EQ(program.window.field_text(packet_field(0)), L"02 43 4D 44");
  program.window.type(packet_field(0), L"02 4");
  EXPECT_EQ(program.window.field_text(packet_field(0)), L"02 4");
}

TEST(App, WritesOnlyControlsThatChanged) {
  Program program;
  const std::size_t before = program.window.writes();
  for (int i = 0; i < 100; ++i)
    program.app.command(ControlId::refresh);
  EXPECT_EQ(program.window.writes(), before);
  program.app.command(ControlId::line_break);
  EXPECT_EQ(program.window.writes(), before + 1);
}

}  // namespace
}  // namespace hvt
