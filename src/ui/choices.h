#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "ui/texts.h"

namespace hvt {

// The entries of the fixed drop-down lists, in order.
inline constexpr std::array<std::wstring_view, 13> kBaudRates{
    L"1200",  L"2400",   L"4800",   L"9600",   L"19200",  L"38400",  L"57600",
    L"76800", L"115200", L"230400", L"460800", L"921600", L"1500000"};
inline constexpr std::array<std::wstring_view, 4> kDataBits{L"5", L"6", L"7", L"8"};
inline constexpr std::array<std::wstring_view, 3> kStopBits{L"1", L"1.5", L"2"};  // index = stop-bits code
inline constexpr std::array kParities{TextId::parity_none, TextId::parity_odd, TextId::parity_even,
                                      TextId::parity_mark, TextId::parity_space};  // index = parity code
inline constexpr std::array<std::wstring_view, 5> kParityNames{L"None", L"Odd", L"Even", L"Mark",
                                                               L"Space"};  // as they are saved
inline constexpr std::array<std::wstring_view, 3> kTimeoutSeconds{L"1", L"3", L"5"};

inline constexpr std::array<std::wstring_view, 4> kBufferSizes{L"1MB", L"2MB", L"3MB", L"4MB"};
// Received bytes that the view keeps with that entry chosen.
constexpr std::uint64_t buffer_bytes(std::size_t entry) {
  return (std::uint64_t{entry} + 1) << 20;
}

inline constexpr std::array<std::wstring_view, 17> kFontSizes{L"8",  L"9",  L"10", L"11", L"12", L"13",
                                                              L"14", L"15", L"16", L"17", L"18", L"19",
                                                              L"20", L"21", L"22", L"23", L"24"};
// Points of the received text with that entry chosen.
constexpr int font_points(std::size_t entry) {
  return static_cast<int>(entry) + 8;
}
constexpr std::size_t font_entry(int points) {
  return static_cast<std::size_t>(points - 8);
}

// A rate at which what is done for the eye takes time away from receiving. Anything but digits is none.
constexpr bool is_high_speed(std::wstring_view baud) {
  constexpr unsigned kFrom = 921'600;
  constexpr unsigned kBeyondAll = 4'000'001;
  unsigned value = 0;
  for (const wchar_t digit : baud) {
    if (digit < L'0' || digit > L'9') return false;
    value = value >= kBeyondAll ? value : value * 10 + static_cast<unsigned>(digit - L'0');
  }
  return value >= kFrom;
}

}  // namespace hvt
