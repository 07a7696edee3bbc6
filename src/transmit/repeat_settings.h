#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "transmit/packet_text.h"

namespace hvt {

inline constexpr std::size_t kPacketCount = 10;

// The transmit panel as the user left it: every field as typed.
struct TransmitPanel {
  std::array<std::wstring, kPacketCount> packets;
  bool hex_mode = false;
  bool auto_crlf = false;
  std::wstring repeat_count;
  std::wstring start_packet;
  std::wstring end_packet;
  std::wstring interval_ms;
  bool wait_for_rx = true;
  std::wstring rx_timeout_ms;
};

struct RepeatSettings {
  std::int32_t repeat_count = 1;   // 1 to 9999
  std::int32_t start_packet = 1;   // 1 to 10
  std::int32_t end_packet = 1;     // start_packet to 10
  std::int32_t interval_ms = 100;  // 0 to 99999999
  bool wait_for_rx = true;
  std::int32_t rx_timeout_ms = 1000;  // 10 to 99999999; parsed only when wait_for_rx is set
};

// Both throw std::runtime_error with a message for the user, at the first field or packet that fails.
RepeatSettings parse_repeat_settings(const TransmitPanel& panel);
// The encoded packets start to end, in order.
std::vector<Bytes> build_repeat_packets(const TransmitPanel& panel);

}  // namespace hvt
