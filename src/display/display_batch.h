#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace hvt {

// What a stretch of receive-view text is. Roles are stored, colours are looked up when painting (palette.h).
// The values index the palette and the colour table of rich text.
enum class ColorRole : std::uint8_t {
  normal = 0,      // payload without labels, separators
  rx_payload = 1,  // received payload under a label
  tx_payload = 2,  // sent payload
  header = 3,      // "[RX]", "[TX] " and elapsed times
  control = 4,     // "<CR>" and "<LF>"
  late = 5,        // "[LATE]"
  timeout = 6,     // "[TIMEOUT]"
};
inline constexpr std::size_t kColorRoleCount = 7;

struct DisplayRun {
  std::wstring text;
  ColorRole role = ColorRole::normal;
};

// A piece of receive-view text and what it stands for. Line breaks are "\r\n".
struct DisplayBatch {
  std::vector<DisplayRun> runs;       // consecutive runs have different roles
  std::size_t characters = 0;         // of all runs
  std::uint64_t raw_rx_bytes = 0;     // received bytes shown (hidden ones included)
  std::uint64_t auxiliary_bytes = 0;  // bytes of sent packets and status texts

  // Adds text at the end, joining it to the last run when the role is the same.
  void add(std::wstring_view text, ColorRole role) {
    if (text.empty()) return;
    if (runs.empty() || runs.back().role != role) runs.push_back({{}, role});
    runs.back().text.append(text);
    characters += text.size();
  }
};

}  // namespace hvt
