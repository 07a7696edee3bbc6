// The risk: a number taken for another one, or a message that blames the wrong field.

#include "transmit/number_fields.h"

#include <gtest/gtest.h>

#include <limits>
#include <span>
#include <string>

#include "base/text.h"
#include "tests/support/error_of.h"

namespace hvt {
namespace {

using Parser = std::int32_t (*)(std::wstring_view, std::int32_t, std::int32_t, std::wstring_view);

struct Case {
  std::wstring text;
  std::int32_t min;
  std::int32_t max;
  std::string result;  // the number, or the message
};

void expect_all(Parser parse, std::wstring_view label, std::span<const Case> cases) {
  for (const Case& one : cases) {
    std::string number;
    const std::string error =
        test::error_of([&] { number = std::to_string(parse(one.text, one.min, one.max, label)); });
    EXPECT_EQ(number.empty() ? error : number, one.result)
        << "\"" << utf16_to_utf8(one.text) << "\" in " << one.min << ".." << one.max;
  }
}

constexpr std::int32_t kLargest = std::numeric_limits<std::int32_t>::max();

TEST(PacketNumber, is_trimmed_and_judged_digit_by_digit) {
  const Case kCases[] = {
      {L"1", 1, 9999, "1"},
      {L" \x3000"
       L"9999\t",
       1, 9999, "9999"},
      {L"0000000000000000010", 1, 10, "10"},
      {L"0", 0, 99999999, "0"},
      {L"99999999", 10, 99999999, "99999999"},
      {L"2147483647", 1, kLargest, "2147483647"},
      {L"", 1, 9999, "Enter N."},
      {L" \t", 1, 9999, "Enter N."},
      {L"0", 1, 9999, "Out-of-range N."},
      {L"9", 10, 99999999, "Out-of-range N."},
      {L"10000", 1, 9999, "Invalid N."},
      {L"99999", 1, 9999, "Invalid N."},
      {L"11", 1, 10, "Invalid N."},
      {L"2147483648", 1, kLargest, "Invalid N."},
      {L"18446744073709551617", 1, 9999, "Invalid N."},
      {L"-1", 1, 9999, "Invalid N."},
      {L"+1", 1, 9999, "Invalid N."},
      {L"1 2", 1, 9999, "Invalid N."},
      {L"1.5", 1, 9999, "Invalid N."},
      {L"\xFF11", 1, 9999, "Invalid N."},
  };
  expect_all(parse_packet_number, L"N", kCases);
}

TEST(FieldNumber, is_one_to_ten_digits_as_they_stand) {
  constexpr const char* kInvalid = "\xED\x8F\xAC\xED\x8A\xB8: enter a valid number.";
  constexpr const char* kOutside = "\xED\x8F\xAC\xED\x8A\xB8: value is outside the allowed range.";
  const Case kCases[] = {
      {L"1", 1, 4000000, "1"},
      {L"4000000", 1, 4000000, "4000000"},
      {L"0000115200", 1, 4000000, "115200"},
      {L"0", 1, 4000000, kOutside},
      {L"4000001", 1, 4000000, kOutside},
      {L"9999999999", 1, kLargest, kOutside},  // more than 32 bits
      {L"", 1, 4000000, kInvalid},
      {L"00000000001", 1, 4000000, kInvalid},  // eleven digits
      {L" 9600", 1, 4000000, kInvalid},
      {L"9600 ", 1, 4000000, kInvalid},
      {L"-1", 1, 4000000, kInvalid},
      {L"9600a", 1, 4000000, kInvalid},
      {L"\xFF11", 1, 4000000, kInvalid},
  };
  expect_all(parse_field_number, L"\xD3EC\xD2B8", kCases);
}

}  // namespace
}  // namespace hvt
