// The risk: text that changes on its way between the program and its files, and malformed text that gets in.

#include "base/text.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>

#include "tests/support/error_of.h"

namespace hvt {
namespace {

using test::error_of;

// The encoding written down a second time, plainly.
std::string utf8_of(std::uint32_t scalar) {
  const auto tail = [&](unsigned shift) { return static_cast<char>(0x80 | ((scalar >> shift) & 0x3F)); };
  if (scalar < 0x80) return {static_cast<char>(scalar)};
  if (scalar < 0x800) return {static_cast<char>(0xC0 | scalar >> 6), tail(0)};
  if (scalar < 0x10000) return {static_cast<char>(0xE0 | scalar >> 12), tail(6), tail(0)};
  return {static_cast<char>(0xF0 | scalar >> 18), tail(12), tail(6), tail(0)};
}

TEST(Text, every_character_survives_the_way_to_utf8_and_back) {
  for (std::uint32_t scalar = 0; scalar <= 0x10FFFF; ++scalar) {
    if (scalar >= 0xD800 && scalar <= 0xDFFF) continue;
    const std::string bytes = utf8_of(scalar);
    const std::wstring text = utf8_to_utf16(bytes);
    ASSERT_EQ(text.size(), scalar < 0x10000 ? 1U : 2U) << std::hex << scalar;
    ASSERT_EQ(utf16_to_utf8(text), bytes) << std::hex << scalar;
    ASSERT_EQ(utf8_to_utf16_lossy(bytes), text) << std::hex << scalar;
  }
}

TEST(Text, mixed_text_is_converted_whole) {
  const std::wstring text = std::wstring(L"a\0b", 3) + L"\xAC00 c \xD83D\xDE00!";
  const std::string bytes = std::string("a\0b", 3) + "\xEA\xB0\x80 c \xF0\x9F\x98\x80!";
  EXPECT_EQ(utf16_to_utf8(text), bytes);
  EXPECT_EQ(utf8_to_utf16(bytes), text);
  EXPECT_EQ(utf16_to_utf8(L""), "");
  EXPECT_EQ(utf8_to_utf16(""), L"");
}

TEST(Text, an_unpaired_surrogate_is_refused) {
  struct Case {
    const char* name;
    std::wstring text;
  };
  const Case kCases[] = {
      {"high at the end", L"a\xD83D"}, {"high before a letter", L"\xD83Dz"}, {"low alone", L"\xDE00"},
      {"two highs", L"\xD83D\xD83D"},  {"low before high", L"\xDE00\xD83D"},
  };
  for (const Case& one : kCases)
    EXPECT_EQ(error_of([&] { utf16_to_utf8(one.text); }), "Invalid Unicode text.") << one.name;
}

TEST(Text, a_wide_character_beyond_utf16_is_refused) {
  if (sizeof(wchar_t) == 2) GTEST_SKIP() << "a wchar_t holds one UTF-16 unit here";
  for (const std::int64_t value : {std::int64_t{0x10000}, std::int64_t{0x1F600}, std::int64_t{-1}}) {
    const std::wstring text(1, static_cast<wchar_t>(value));
    EXPECT_EQ(error_of([&] { utf16_to_utf8(text); }), "Invalid Unicode text.") << value;
  }
}

TEST(Text, malformed_utf8_is_refused_or_replaced_byte_by_byte) {
  struct Case {
    const char* name;
    std::string bytes;
    std::wstring lossy;
  };
  const Case kCases[] = {
      {"continuation without lead", "a\x80", L"a\xFFFD"},
      {"overlong NUL", "\xC0\x80", L"\xFFFD\xFFFD"},
      {"overlong of two bytes", "\xC1\xBF", L"\xFFFD\xFFFD"},
      {"overlong of three bytes", "\xE0\x9F\xBF", L"\xFFFD\xFFFD\xFFFD"},
      {"overlong of four bytes", "\xF0\x8F\xBF\xBF", L"\xFFFD\xFFFD\xFFFD\xFFFD"},
      {"surrogate", "\xED\xA0\x80z", L"\xFFFD\xFFFD\xFFFDz"},
      {"above U+10FFFF", "\xF4\x90\x80\x80", L"\xFFFD\xFFFD\xFFFD\xFFFD"},
      {"lead F5", "\xF5\x80\x80\x80", L"\xFFFD\xFFFD\xFFFD\xFFFD"},
      {"FF", "\xFF", L"\xFFFD"},
      {"cut short at the end", "x\xE2\x82", L"x\xFFFD\xFFFD"},
      {"cut short by a letter", "\xE2\x82z", L"\xFFFD\xFFFDz"},
      {"sound behind unsound", "\xC3\xC3\xA9", L"\xFFFD\xE9"},
  };
  for (const Case& one : kCases) {
    EXPECT_EQ(error_of([&] { utf8_to_utf16(one.bytes); }), "Invalid UTF-8 text.") << one.name;
    EXPECT_EQ(utf8_to_utf16_lossy(one.bytes), one.lossy) << one.name;
  }
}

TEST(Text, a_text_of_more_than_the_largest_32_bit_length_is_refused) {
  // Only the length is looked at, so no such text is made.
  constexpr auto kTooMany = std::size_t{std::numeric_limits<std::int32_t>::max()} + 1;
  const char byte = 'a';
  const wchar_t unit = L'a';
  EXPECT_EQ(error_of([&] { utf8_to_utf16({&byte, kTooMany}); }), "Text is too long.");
  EXPECT_EQ(error_of([&] { utf16_to_utf8({&unit, kTooMany}); }), "Text is too long.");
}

TEST(Text, a_path_keeps_every_character) {
  const std::wstring text = L"caf\xE9 \xD55C\xAE00 \xD83D\xDE00.json";
  const std::filesystem::path path = to_path(text);
  EXPECT_EQ(path_text(path), text);
  EXPECT_EQ(path.u8string(), u8"caf\u00E9 \uD55C\uAE00 \U0001F600.json");
}

TEST(Text, upper_case_concerns_ascii_letters_only) {
  EXPECT_EQ(ascii_upper(L"az@[`{ com9 \xE9\x131\xDF"), L"AZ@[`{ COM9 \xE9\x131\xDF");
}

}  // namespace
}  // namespace hvt
