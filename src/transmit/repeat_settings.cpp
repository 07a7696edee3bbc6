#include "transmit/repeat_settings.h"

#include <stdexcept>

#include "transmit/number_fields.h"

namespace hvt {

RepeatSettings parse_repeat_settings(const TransmitPanel& panel) {
  RepeatSettings settings;
  settings.repeat_count = parse_packet_number(panel.repeat_count, 1, 9999, L"repeat count (1-9999)");
  settings.start_packet = parse_packet_number(panel.start_packet, 1, 10, L"start packet (1-10)");
  settings.end_packet = parse_packet_number(panel.end_packet, 1, 10, L"end packet (1-10)");
  settings.interval_ms = parse_packet_number(panel.interval_ms, 0, 99999999, L"interval (0-99999999 ms)");
  settings.wait_for_rx = panel.wait_for_rx;
  if (settings.wait_for_rx) {
    settings.rx_timeout_ms =
        parse_packet_number(panel.rx_timeout_ms, 10, 99999999, L"RX timeout (10-99999999 ms)");
  }
  if (settings.start_packet > settings.end_packet)
    throw std::runtime_error("Start packet must not exceed end packet.");
  return settings;
}

std::vector<Bytes> build_repeat_packets(const TransmitPanel& panel) {
  const RepeatSettings settings = parse_repeat_settings(panel);
  std::vector<Bytes> packets;
  for (std::int32_t number = settings.start_packet; number <= settings.end_packet; ++number) {
    const std::wstring& text = panel.packets[static_cast<std::size_t>(number) - 1];
    packets.push_back(encode_send_packet(text, panel.hex_mode, panel.auto_crlf));
  }
  return packets;
}

}  // namespace hvt
