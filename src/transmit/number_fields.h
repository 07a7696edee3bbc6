#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace hvt {

// Both parsers throw std::runtime_error with a message that names `label`.

// A repeat field: trimmed; "Enter <label>.", "Invalid <label>." (also for a value above `max`),
// "Out-of-range <label>." (below `min`).
std::int32_t parse_packet_number(std::wstring_view text, std::int32_t min, std::int32_t max,
                                 std::wstring_view label);

// A panel field: not trimmed, 1 to 10 digits; "<label>: enter a valid number.",
// "<label>: value is outside the allowed range.".
std::int32_t parse_field_number(std::wstring_view text, std::int32_t min, std::int32_t max,
                                std::wstring_view label);

}  // namespace hvt
