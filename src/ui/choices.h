#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "ui/controls.h"
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
inline constexpr std::array<std::wstring_view, 3> kTimeoutSeconds{L"1", L"3", L"5"};

inline constexpr std::size_t kDefaultBaud = 8;      // 115200
inline constexpr std::size_t kDefaultDataBits = 3;  // 8
inline constexpr std::size_t kDefaultTimeout = 1;   // 3 seconds

// What the number fields hold at first.
struct FieldText {
  ControlId field;
  std::wstring_view text;
};
inline constexpr FieldText kFirstFieldTexts[]{
    {ControlId::start_packet, L"1"},  {ControlId::end_packet, L"1"}, {ControlId::repeat_count, L"3"},
    {ControlId::rx_timeout, L"1000"}, {ControlId::interval, L"100"},
};

}  // namespace hvt
