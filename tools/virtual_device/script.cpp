#include "tools/virtual_device/script.h"

#include <charconv>
#include <optional>

#include "base/text.h"
#include "transmit/packet_text.h"

namespace hvt::device {
namespace {

struct Pause {
  std::size_t begin = 0;
  std::size_t end = 0;
  std::chrono::milliseconds length{0};
};

// The first "<50ms>" at or behind `from`.
std::optional<Pause> find_pause(std::string_view text, std::size_t from) {
  constexpr std::string_view kTail = "ms>";
  for (std::size_t begin = text.find('<', from); begin != text.npos; begin = text.find('<', begin + 1)) {
    unsigned length = 0;
    const char* digits = text.data() + begin + 1;
    const auto [rest, failed] = std::from_chars(digits, text.data() + text.size(), length);
    const auto end = static_cast<std::size_t>(rest - text.data());
    if (failed == std::errc() && text.substr(end).starts_with(kTail))
      return Pause{begin, end + kTail.size(), std::chrono::milliseconds(length)};
  }
  return {};
}

}  // namespace

Bytes parse_bytes(std::string_view text) {
  return parse_ascii_packet(utf8_to_utf16(text));
}

Script parse_script(std::string_view text) {
  Script script;
  std::chrono::milliseconds after{0};
  std::size_t at = 0;
  for (;;) {
    const auto pause = find_pause(text, at);
    const std::size_t end = pause ? pause->begin : text.size();
    if (end > at) {
      script.push_back({after, parse_bytes(text.substr(at, end - at))});
      after = {};
    }
    if (!pause) return script;
    after += pause->length;
    at = pause->end;
  }
}

}  // namespace hvt::device
