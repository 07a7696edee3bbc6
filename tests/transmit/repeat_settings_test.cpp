// The risk: a repeat run over packets or times that the user did not enter.

#include "transmit/repeat_settings.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "tests/support/error_of.h"

namespace hvt {
namespace {

using test::error_of;

TransmitPanel sound_panel() {
  TransmitPanel panel;
  for (std::size_t i = 0; i < kPacketCount; ++i)
    panel.packets[i] = L"P" + std::to_wstring(i + 1);
  panel.repeat_count = L" 3 ";
  panel.start_packet = L"2";
  panel.end_packet = L"4";
  panel.interval_ms = L"0";
  panel.rx_timeout_ms = L"250";
  return panel;
}

TEST(RepeatSettings, are_the_numbers_of_the_panel) {
  TransmitPanel panel = sound_panel();
  const RepeatSettings settings = parse_repeat_settings(panel);
  EXPECT_EQ(settings.repeat_count, 3);
  EXPECT_EQ(settings.start_packet, 2);
  EXPECT_EQ(settings.end_packet, 4);
  EXPECT_EQ(settings.interval_ms, 0);
  EXPECT_TRUE(settings.wait_for_rx);
  EXPECT_EQ(settings.rx_timeout_ms, 250);
  panel.wait_for_rx = false;
  panel.rx_timeout_ms = L"nonsense";  // is not read
  EXPECT_EQ(parse_repeat_settings(panel).rx_timeout_ms, 1000);
}

TEST(RepeatSettings, the_first_faulty_field_is_named) {
  struct Case {
    const char* name;
    std::function<void(TransmitPanel&)> spoil;
    const char* error;
  };
  const Case kCases[] = {
      {"count zero", [](auto& p) { p.repeat_count = L"0"; }, "Out-of-range repeat count (1-9999)."},
      {"count too large", [](auto& p) { p.repeat_count = L"10000"; }, "Invalid repeat count (1-9999)."},
      {"count before start", [](auto& p) { p.repeat_count = p.start_packet = L""; },
       "Enter repeat count (1-9999)."},
      {"start 11", [](auto& p) { p.start_packet = L"11"; }, "Invalid start packet (1-10)."},
      {"start before end", [](auto& p) { p.start_packet = p.end_packet = L"0"; },
       "Out-of-range start packet (1-10)."},
      {"end before interval", [](auto& p) { p.end_packet = p.interval_ms = L""; },
       "Enter end packet (1-10)."},
      {"interval before timeout", [](auto& p) { p.interval_ms = p.rx_timeout_ms = L"100000000"; },
       "Invalid interval (0-99999999 ms)."},
      {"timeout 9", [](auto& p) { p.rx_timeout_ms = L"9"; }, "Out-of-range RX timeout (10-99999999 ms)."},
      {"order of packets", [](auto& p) { p.start_packet = L"5"; },
       "Start packet must not exceed end packet."},
      {"timeout before order of packets", [](auto& p) { p.start_packet = L"5", p.rx_timeout_ms = L""; },
       "Enter RX timeout (10-99999999 ms)."},
  };
  for (const Case& one : kCases) {
    TransmitPanel panel = sound_panel();
    one.spoil(panel);
    EXPECT_EQ(error_of([&] { parse_repeat_settings(panel); }), one.error) << one.name;
    EXPECT_EQ(error_of([&] { build_repeat_packets(panel); }), one.error) << one.name;
  }
}

TEST(RepeatPackets, are_those_of_the_range_in_order) {
  TransmitPanel panel = sound_panel();
  panel.packets[0] = L"\\";  // outside the range: not looked at
  EXPECT_EQ(build_repeat_packets(panel), (std::vector<Bytes>{{'P', '2'}, {'P', '3'}, {'P', '4'}}));
  panel.auto_crlf = true;
  panel.end_packet = L"2";
  EXPECT_EQ(build_repeat_packets(panel), (std::vector<Bytes>{{'P', '2', '\r', '\n'}}));
  panel.start_packet = panel.end_packet = L"10";
  panel.packets[9] = L"0a";
  panel.hex_mode = true;
  EXPECT_EQ(build_repeat_packets(panel), (std::vector<Bytes>{{0x0A, '\r', '\n'}}));
  panel.start_packet = L"9";
  panel.packets[8] = L"";
  panel.packets[9] = L"\\";
  EXPECT_EQ(error_of([&] { build_repeat_packets(panel); }), "The send data is empty.") << "the first fault";
}

}  // namespace
}  // namespace hvt
