// Risk: a repeat run cannot be stopped, outlives its connection, or leaves the panel locked.

#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "tests/app/program.h"

namespace hvt {
namespace {

using test::Program;

const std::wstring kFirstOfThree = L"-------------------- Repeat 1/3 --------------------\r\n";

TEST(Repeat, ShowsSeparatorsAndUnlocksAtTheEnd) {
  Program program;
  program.connect();
  program.open_transmit(L"A");
  program.type(packet_field(1), L"B");
  program.type(ControlId::repeat_count, L"2");
  program.type(ControlId::end_packet, L"2");
  program.type(ControlId::interval, L"0");
  program.press(ControlId::repeat);
  const std::wstring first = L"-------------------- Repeat 1/2 --------------------\r\n[TX] A\r\n[TX] B\r\n";
  const std::wstring second = L"-------------------- Repeat 2/2 --------------------\r\n[TX] A\r\n[TX] B";
  EXPECT_TRUE(program.shows(first + second));
  EXPECT_TRUE(program.until([&] { return program.repeat_caption() == L"Repeat Send"; }));
  EXPECT_TRUE(program.window.state(ControlId::transmit).enabled);
}

TEST(Repeat, CanBeStoppedWhileItWaitsOrRests) {
  for (const bool waits : {true, false}) {
    SCOPED_TRACE(waits ? "waits for a response" : "rests");
    Program program;
    program.connect();
    program.open_transmit(L"A");
    if (waits) program.wait_for_rx(L"99999999");
    program.type(ControlId::interval, L"99999999");
    program.press(ControlId::repeat);
    ASSERT_TRUE(program.device->wait_for_writes(1));
    EXPECT_EQ(program.repeat_caption(), L"Stop");
    EXPECT_FALSE(program.window.state(ControlId::transmit).enabled);
    program.press(ControlId::transmit);  // a stale click does not fold the running panel
    EXPECT_TRUE(program.window.state(ControlId::repeat).visible);
    program.press(ControlId::repeat);
    EXPECT_TRUE(program.until([&] { return program.repeat_caption() == L"Repeat Send"; }));
    EXPECT_TRUE(program.window.state(ControlId::transmit).enabled);
    EXPECT_TRUE(program.shows(kFirstOfThree + L"[TX] A"));
    EXPECT_EQ(program.window.status(), L"Connected to COM8");
  }
}

TEST(Repeat, StopsWithItsConnection) {
  const auto fail = [](Program& program) { program.fail_writes(L"Broken."); };
  const auto stop_and_fail = [](Program& program) {
    program.press(ControlId::repeat);
    EXPECT_EQ(program.repeat_caption(), L"Stopping...");
    program.fail_writes(L"Broken.");
  };
  for (const test::End& end : {test::kDisconnect, test::kUnplug, test::End{"failed write", fail, L"Broken."},
                               test::End{"failed write after a stop", stop_and_fail, L"Broken."}}) {
    SCOPED_TRACE(end.name);
    Program program;
    program.connect();
    program.open_transmit(L"A");
    program.block_writes();
    program.press(ControlId::repeat);
    ASSERT_TRUE(program.device->wait_until_write_blocks());
    EXPECT_EQ(program.repeat_caption(), L"Stop");
    end.happen(program);
    EXPECT_TRUE(program.status_becomes(end.status));
    EXPECT_TRUE(program.until([&] { return program.repeat_caption() == L"Repeat Send"; }));
    EXPECT_EQ(program.connection(), L"Connect");
    program.window.tick();
    EXPECT_EQ(program.window.shown(), kFirstOfThree);
  }
}

TEST(Repeat, IsRefusedForWhatIsWrongWithIt) {
  struct Case {
    ControlId field;
    std::wstring text;
    std::wstring status;
  };
  const Case cases[] = {
      {ControlId::repeat_count, L"10000", L"Invalid repeat count (1-9999)."},
      {ControlId::start_packet, L"2", L"Start packet must not exceed end packet."},
      {packet_field(0), L"", L"The send data is empty."},
  };
  for (const Case& c : cases) {
    Program program;
    program.open_transmit(L"A");
    program.press(ControlId::repeat);
    EXPECT_EQ(program.window.status(), L"Connect to a COM port first.");
    program.connect();
    program.type(c.field, c.text);
    program.press(ControlId::repeat);
    EXPECT_EQ(program.window.status(), c.status);
    EXPECT_EQ(program.repeat_caption(), L"Repeat Send");
    // None of it matters to a single packet.
    if (c.field == packet_field(0)) continue;
    program.send();
    EXPECT_TRUE(program.shows(L"[TX] A"));
  }
}

}  // namespace
}  // namespace hvt
