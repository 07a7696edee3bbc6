#pragma once

#include <chrono>
#include <cstdint>
#include <string_view>
#include <vector>

namespace hvt::device {

using Bytes = std::vector<std::uint8_t>;

// Something to say in one or more pieces, each so long after the one before it.
struct Piece {
  std::chrono::milliseconds after{0};
  Bytes bytes;
};
using Script = std::vector<Piece>;

// Bytes as the program's packets are typed: "\r", "\x1B", "<CR>", "<0xAB>", "\\" for a backslash. In a script
// "<50ms>" is a pause of 50 ms: "OK<50ms>\r\n". Both throw std::runtime_error with a sentence.
Bytes parse_bytes(std::string_view text);
Script parse_script(std::string_view text);

}  // namespace hvt::device
