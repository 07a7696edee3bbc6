// Risk: a packet is shown as sent that was not, is shown behind its answer, or gets the answer to another
// one.

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "tests/app/program.h"

namespace hvt {
namespace {

using test::kDisconnect;
using test::kUnplug;
using test::Program;

constexpr const wchar_t* kNever = L"99999999";

// The program, connected, about to send.
struct Sending : Program {
  explicit Sending(std::wstring packet) {
    connect();
    open_transmit(std::move(packet));
  }
};

TEST(Sending, IsRefusedWithoutAConnectionOrAPacket) {
  Program program;
  program.open_transmit(L"hello");
  program.send();
  EXPECT_EQ(program.window.status(), L"Connect to a COM port first.");
  program.connect();
  program.type(packet_field(0), L"\\q");
  program.press(packet_field(0));
  EXPECT_EQ(program.window.status(), L"Unsupported escape character.");
  program.press(ControlId::transmit);  // folded: a stale click is refused without a trace
  program.type(packet_field(0), L"hello");
  program.send();
  for (const ControlId id : {ControlId::repeat, ControlId::auto_crlf, ControlId::send_hex,
                             ControlId::save_packets, ControlId::load_packets})
    program.press(id);
  EXPECT_TRUE(program.window.asked.empty());
  EXPECT_FALSE(program.window.state(ControlId::auto_crlf).checked);
  EXPECT_TRUE(program.window.state(ControlId::send_ascii).checked);
  EXPECT_EQ(program.repeat_caption(), L"Repeat Send");
  EXPECT_EQ(program.window.status(), L"Unsupported escape character.");
  EXPECT_TRUE(program.device->writes().empty());
}

TEST(Sending, APacketStandsBeforeItsReplyEvenIfTheReplyIsFaster) {
  Sending program(L"PING");
  program.press(ControlId::auto_crlf);
  program.block_writes();
  program.send();
  ASSERT_TRUE(program.device->wait_until_write_blocks());
  program.feed("PONG");
  program.window.tick();
  EXPECT_EQ(program.window.shown(), L"");
  program.accept_writes();
  EXPECT_TRUE(program.shows(L"[TX] PING<CR><LF>\r\n[RX] PONG"));
}

TEST(Sending, ABurstOfClicksIsSentOnceEachInOrderAsItWasClickedAndItsLastPacketWaits) {
  Sending program(L"");
  program.wait_for_rx(kNever);
  program.block_writes();
  std::vector<Program::Bytes> expected;
  std::wstring shown;
  for (wchar_t letter = L'a'; letter <= L'x'; ++letter) {
    program.type(packet_field(0), std::wstring(1, letter));
    program.press(packet_field(0));
    expected.push_back({static_cast<std::uint8_t>(letter)});
    shown.append(letter == L'a' ? L"[TX] " : L"\r\n[TX] ").push_back(letter);
  }
  program.type(ControlId::rx_timeout, L"nonsense");
  program.send();
  EXPECT_EQ(program.window.status(), L"RX Timeout: enter a valid number.");
  program.accept_writes();
  ASSERT_TRUE(program.shows(shown));
  EXPECT_EQ(program.device->writes(), expected);
  program.press(ControlId::repeat);  // ignored, and the wait goes on
  EXPECT_EQ(program.repeat_caption(), L"Repeat Send");
  program.feed("y");
  EXPECT_TRUE(program.shows(shown + L" [t ms]\r\n[RX] y"));
}

TEST(Sending, ABlockedWriteThatComesToNothingIsToldOnceAndShownNever) {
  const test::End kTooLong{"write fails",
                           [](Program& program) { program.fail_writes(L"Serial write exceeded 500 ms."); },
                           L"Serial write exceeded 500 ms."};
  for (const test::End& end : {kDisconnect, kUnplug, kTooLong}) {
    SCOPED_TRACE(end.name);
    Sending program(L"PING");
    program.block_writes();
    for (int i = 0; i < 5; ++i)
      program.send();
    ASSERT_TRUE(program.device->wait_until_write_blocks());
    end.happen(program);
    ASSERT_TRUE(program.disconnected());
    program.app.closing();  // the writer has ended by now
    program.window.deliver();
    program.window.tick();
    EXPECT_EQ(program.window.status(), end.status);
    EXPECT_EQ(program.window.shown(), L"");
    EXPECT_TRUE(program.device->writes().empty());
  }
}

TEST(Sending, WhatBecameOfAPacketStandsBehindIt) {
  Sending program(L"A");
  program.wait_for_rx(kNever);
  program.send();
  ASSERT_TRUE(program.shows(L"[TX] A"));
  program.feed("a");
  ASSERT_TRUE(program.shows(L"[TX] A [t ms]\r\n[RX] a"));
  program.feed("b");  // answers nothing
  ASSERT_TRUE(program.shows(L"[TX] A [t ms]\r\n[RX] ab"));

  program.press(ControlId::clear);
  program.type(ControlId::rx_timeout, L"10");
  program.send();
  ASSERT_TRUE(program.shows(L"[TX] A [TIMEOUT]"));
  program.feed("c");
  ASSERT_TRUE(program.shows(L"[TX] A [TIMEOUT] [LATE]\r\n[RX] c"));

  // A packet that is not shown says nothing at the line of the one before.
  program.press(ControlId::clear);
  program.press(ControlId::wait_for_rx);
  program.send();
  ASSERT_TRUE(program.shows(L"[TX] A"));
  program.press(ControlId::echo_sent);
  program.press(ControlId::wait_for_rx);
  program.send();
  EXPECT_TRUE(program.shows(L"[TX] A\r\n[TIMEOUT]\r\n"));
}

TEST(Sending, AnAnswerToAPacketThatFailedIsNotThatOfThePacketBefore) {
  Sending program(L"A");
  program.wait_for_rx(kNever);
  program.send();
  ASSERT_TRUE(program.shows(L"[TX] A"));
  program.block_writes();
  program.send();
  ASSERT_TRUE(program.device->wait_until_write_blocks());
  program.feed("x");
  program.fail_writes(L"Broken.");
  ASSERT_TRUE(program.status_becomes(L"Broken."));
  EXPECT_TRUE(program.shows(L"[TX] A\r\n[RX] x"));
}

TEST(Sending, TheFirstBytesOfANewConnectionAnswerNoPacketOfTheOldOne) {
  for (const test::End& end : {kDisconnect, kUnplug}) {
    SCOPED_TRACE(end.name);
    Sending program(L"A");
    program.wait_for_rx(L"10");
    program.send();
    ASSERT_TRUE(program.shows(L"[TX] A [TIMEOUT]"));
    end.happen(program);
    ASSERT_TRUE(program.disconnected());
    program.device = std::make_shared<test::ScriptedTransport>();
    program.device->feed({'x'});
    program.connect_again();
    EXPECT_TRUE(program.shows(L"[TX] A [TIMEOUT]\r\n[RX] x"));
  }
}

TEST(Sending, AClearForgetsTheWait) {
  Sending program(L"A");
  program.wait_for_rx(L"10");
  program.send();
  ASSERT_TRUE(program.shows(L"[TX] A [TIMEOUT]"));
  program.press(ControlId::clear);
  program.feed("x");  // would be late
  ASSERT_TRUE(program.shows(L"[RX] x"));

  program.type(ControlId::rx_timeout, L"200");
  program.send();
  ASSERT_TRUE(program.device->wait_for_writes(2));
  program.press(ControlId::clear);
  ASSERT_TRUE(program.until([&] {  // taken when the worker has let go of the wait
    program.press(ControlId::repeat);
    return program.repeat_caption() == L"Stop";
  }));
  ASSERT_TRUE(program.until([&] { return !program.window.shown().empty(); }));
  EXPECT_TRUE(program.window.shown().starts_with(L"---")) << "an orphan in the cleared view";
}

TEST(Sending, AClearDuringAWriteLeavesNothingThatComesBack) {
  struct Case {
    const char* name;
    bool direct;
  };
  for (const Case& c : {Case{"queued packet: the clear does not wait for it", false},
                        Case{"direct write: the clear waits", true}}) {
    SCOPED_TRACE(c.name);
    Sending program(L"PING");
    program.feed("old");
    ASSERT_TRUE(program.shows(L"[RX] old"));
    program.block_writes();
    std::jthread writer([&] {
      std::wstring error;
      EXPECT_TRUE(!c.direct || program.app.direct_write(Program::Bytes{'D'}, error));
    });
    if (!c.direct) program.send();
    ASSERT_TRUE(program.device->wait_until_write_blocks());
    std::jthread device([&] {
      if (c.direct) program.accept_writes();
    });
    program.press(ControlId::clear);
    EXPECT_EQ(program.device->writes().size(), c.direct ? 1u : 0u);
    program.accept_writes();
    ASSERT_TRUE(program.device->wait_for_writes(1));
    program.feed("new");
    EXPECT_TRUE(program.shows(L"[RX] new"));
  }
}

TEST(Sending, ADirectWriteIsShownOrTellsWhyNot) {
  Program program;
  const Program::Bytes packet{'D'};
  std::wstring error;
  EXPECT_FALSE(program.app.direct_write(packet, error));
  EXPECT_EQ(error, L"Connect to a COM port first.");
  program.connect();
  program.open_transmit(L"A");
  program.wait_for_rx(kNever);
  program.send();
  ASSERT_TRUE(program.shows(L"[TX] A"));
  program.block_writes();
  std::jthread writer([&] {
    std::wstring no_error;
    EXPECT_TRUE(program.app.direct_write(packet, no_error));
  });
  ASSERT_TRUE(program.device->wait_until_write_blocks());
  EXPECT_FALSE(program.app.direct_write(packet, error));
  EXPECT_EQ(error, L"A transmission is already in progress.");
  program.accept_writes();
  ASSERT_TRUE(program.shows(L"[TX] A\r\n[TX] D"));
  program.feed("x");  // an answer to neither
  EXPECT_TRUE(program.shows(L"[TX] A\r\n[TX] D\r\n[RX] x"));
}

TEST(Sending, HexInputIsSpacedWhileTyping) {
  Program program;
  const auto typed = [&](const wchar_t* text) {
    program.type(packet_field(0), text);
    return program.window.field_text(packet_field(0));
  };
  EXPECT_EQ(typed(L"0243"), L"0243");
  program.press(ControlId::transmit);
  program.press(ControlId::send_hex);
  EXPECT_EQ(typed(L"02434d44"), L"02 43 4D 44");
  EXPECT_EQ(typed(L"02 4"), L"02 4");
}

}  // namespace
}  // namespace hvt
