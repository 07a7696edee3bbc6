#include "transmit/number_fields.h"

#include <algorithm>
#include <stdexcept>
#include <string>

#include "base/text.h"
#include "transmit/packet_text.h"

namespace hvt {
namespace {

bool is_digit(wchar_t unit) {
  return unit >= L'0' && unit <= L'9';
}

constexpr std::size_t kMostFieldDigits = 10;

}  // namespace

std::int32_t parse_packet_number(std::wstring_view text, std::int32_t min, std::int32_t max,
                                 std::wstring_view label) {
  const std::string name = utf16_to_utf8(label);
  const std::wstring_view digits = trim_whitespace(text);
  if (digits.empty()) throw std::runtime_error("Enter " + name + ".");
  std::int64_t value = 0;
  for (const wchar_t digit : digits) {
    if (is_digit(digit)) value = value * 10 + (digit - L'0');
    // Growing past the maximum counts as invalid, not as out of range, and ends the reading before it
    // could overflow.
    if (!is_digit(digit) || value > max) throw std::runtime_error("Invalid " + name + ".");
  }
  if (value < min) throw std::runtime_error("Out-of-range " + name + ".");
  return static_cast<std::int32_t>(value);
}

std::int32_t parse_field_number(std::wstring_view text, std::int32_t min, std::int32_t max,
                                std::wstring_view label) {
  const bool well_formed =
      !text.empty() && text.size() <= kMostFieldDigits && std::all_of(text.begin(), text.end(), is_digit);
  if (!well_formed) throw std::runtime_error(utf16_to_utf8(label) + ": enter a valid number.");
  std::int64_t value = 0;
  for (const wchar_t digit : text)
    value = value * 10 + (digit - L'0');
  if (value < min || value > max)
    throw std::runtime_error(utf16_to_utf8(label) + ": value is outside the allowed range.");
  return static_cast<std::int32_t>(value);
}

}  // namespace hvt
