#pragma once

#include <cstdint>
#include <string>

namespace hvt {

// The codes of the Win32 DCB, used on every system.
inline constexpr std::int32_t kParityNone = 0;
inline constexpr std::int32_t kParityOdd = 1;
inline constexpr std::int32_t kParityEven = 2;
inline constexpr std::int32_t kParityMark = 3;
inline constexpr std::int32_t kParitySpace = 4;

inline constexpr std::int32_t kStopBitsOne = 0;
inline constexpr std::int32_t kStopBitsOneAndHalf = 1;
inline constexpr std::int32_t kStopBitsTwo = 2;

// The line settings of one connection, copied into every attempt. The connection time-out is not among
// them: it is passed beside them.
struct SerialSettings {
  std::wstring port;                      // bare name ("COM9", "ttyUSB0") or a full device path
  std::uint32_t baud = 115200;            // bits per second, given to the driver unchanged; 0 is invalid
  std::uint8_t data_bits = 8;             // 5 to 8
  std::int32_t parity = kParityNone;      // 0 to 4
  std::int32_t stop_bits = kStopBitsOne;  // 0 to 2
  bool dtr = true;                        // line asserted while open
  bool rts = true;                        // line asserted while open
};

// A port name is present and every number lies in its range.
bool is_valid(const SerialSettings& settings);

}  // namespace hvt
