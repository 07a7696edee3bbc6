// The risk: a packet that is sent as other bytes than its text says, and bytes shown as what they are not.

#include "transmit/packet_text.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <random>
#include <string>

#include "base/text.h"
#include "tests/support/error_of.h"

namespace hvt {
namespace {

using test::error_of;

std::wstring repeated(std::wstring_view text, std::size_t count) {
  std::wstring result;
  while (count-- > 0)
    result += text;
  return result;
}

Bytes random_bytes(std::mt19937& random, std::size_t count, std::uint8_t first, std::uint8_t last) {
  std::uniform_int_distribution<unsigned> value(first, last);
  Bytes bytes(count);
  for (std::uint8_t& byte : bytes)
    byte = static_cast<std::uint8_t>(value(random));
  return bytes;
}

struct ParseCase {
  std::wstring_view text;
  Bytes bytes;
};

TEST(AsciiPacket, escapes_and_tokens_give_their_bytes) {
  const ParseCase kCases[] = {
      {L"", {}},
      {L"<STX>001F3456<0xAB><CR><LF>", {0x02, '0', '0', '1', 'F', '3', '4', '5', '6', 0xAB, 0x0D, 0x0A}},
      {L"\\\\\\n\\r\\t", {0x5C, 0x0A, 0x0D, 0x09}},
      {L"\\x02\\XfF\\xABC", {0x02, 0xFF, 0xAB, 'C'}},
      {L"\\0x7f\\0XA0\\0xAB0", {0x7F, 0xA0, 0xAB, '0'}},
      {L"\\0", {0x00}},
      {L"\\012\\0\\0", {0x00, '1', '2', 0x00, 0x00}},
      {L"<cr><Lf>< CR ><\x3000\x0009STX\xA0>", {0x0D, 0x0A, 0x0D, 0x02}},
      {L"<HT><tab><DEL><del>", {0x09, 0x09, 0x7F, 0x7F}},
      {L"<0XaB>< 0x02 >", {0xAB, 0x02}},
      {L"<0x1g><ABC><>", {'<', '0', 'x', '1', 'g', '>', '<', 'A', 'B', 'C', '>', '<', '>'}},
      {L"<0x1><0x123><C R>",
       {'<', '0', 'x', '1', '>', '<', '0', 'x', '1', '2', '3', '>', '<', 'C', ' ', 'R', '>'}},
      {L"<<CR>a<LF", {'<', 0x0D, 'a', '<', 'L', 'F'}},
      {L"<A\\n>", {'<', 'A', 0x0A, '>'}},
      {L"a\x7F\x01", {'a', 0x7F, 0x01}},
  };
  for (const ParseCase& one : kCases)
    EXPECT_EQ(parse_ascii_packet(one.text), one.bytes) << utf16_to_utf8(one.text);
}

TEST(HexPacket, pairs_of_digits_give_bytes_whatever_the_spacing) {
  const ParseCase kCases[] = {
      {L"", {}},
      {L" \t\r\n", {}},
      {L"02434D44", {0x02, 0x43, 0x4D, 0x44}},
      {L"0 2 4 3", {0x02, 0x43}},
      {L"  aB\xA0"
       L"Cd\x2003",
       {0xAB, 0xCD}},
  };
  for (const ParseCase& one : kCases)
    EXPECT_EQ(parse_hex_packet(one.text), one.bytes) << utf16_to_utf8(one.text);
}

TEST(SendPacket, each_fault_has_its_message) {
  constexpr const char* kXnn = "\\xNN requires exactly two hexadecimal digits.";
  constexpr const char* kZeroXnn = "\\0xNN requires exactly two hexadecimal digits.";
  constexpr const char* kNotAscii =
      "ASCII mode accepts ASCII only. Use \\xNN, \\0xNN or <0xNN> for bytes 0x80-0xFF.";
  constexpr const char* kNotHex = "Hex mode accepts only 0-9, A-F and whitespace.";
  constexpr const char* kOdd = "Enter Hex data in pairs of two digits.";
  constexpr const char* kEmpty = "The send data is empty.";
  constexpr const char* kTooLong = "Send data exceeds 1500 bytes.";
  constexpr const char* kTooLongWithCrlf = "Send data including automatic CR/LF exceeds 1500 bytes.";
  constexpr bool kAscii = false;
  constexpr bool kHex = true;
  struct Case {
    const char* name;
    std::wstring text;
    bool hex;
    bool auto_crlf;
    const char* error;
  };
  const Case kCases[] = {
      {"backslash at the end", L"ab\\", kAscii, false, "Enter a backslash as \\\\."},
      {"x alone", L"\\x", kAscii, false, kXnn},
      {"x and one digit", L"\\xA", kAscii, false, kXnn},
      {"x and a non-digit", L"\\xAG", kAscii, false, kXnn},
      {"0x alone", L"\\0x", kAscii, false, kZeroXnn},
      {"0x and one digit", L"\\0x4", kAscii, false, kZeroXnn},
      {"0X and a non-digit", L"\\0Xg1", kAscii, false, kZeroXnn},
      {"digit after a backslash", L"\\7", kAscii, false, "Unsupported escape character."},
      {"upper-case N after a backslash", L"\\N", kAscii, false, "Unsupported escape character."},
      {"first character above ASCII", L"a\x80", kAscii, false, kNotAscii},
      {"Korean syllable inside brackets", L"<\xAC00>", kAscii, false, kNotAscii},
      {"first fault counts", L"\xE9\\", kAscii, false, kNotAscii},
      {"empty", L"", kAscii, false, kEmpty},
      {"empty with automatic line end", L"", kAscii, true, kEmpty},
      {"0x in Hex", L"0x02", kHex, false, kNotHex},
      {"fullwidth digit in Hex", L"\xFF10\xFF11", kHex, false, kNotHex},
      {"stray character before a missing digit", L"A G", kHex, false, kNotHex},
      {"one digit", L"A", kHex, false, kOdd},
      {"only whitespace in Hex", L" \t ", kHex, true, kEmpty},
      {"1500 bytes", repeated(L"a", 1500), kAscii, false, "no error"},
      {"1501 bytes", repeated(L"a", 1501), kAscii, false, kTooLong},
      {"1498 bytes and a line end", repeated(L"a", 1498), kAscii, true, "no error"},
      {"1499 bytes and a line end", repeated(L"a", 1499), kAscii, true, kTooLongWithCrlf},
      {"1500 escapes", repeated(L"\\xAB", 1500), kAscii, false, "no error"},
      {"1500 bytes in Hex", repeated(L"AB ", 1500), kHex, false, "no error"},
      {"1501 bytes in Hex", repeated(L"AB ", 1501), kHex, false, kTooLong},
  };
  for (const Case& one : kCases) {
    EXPECT_EQ(error_of([&] { encode_send_packet(one.text, one.hex, one.auto_crlf); }), one.error) << one.name;
  }
}

TEST(SendPacket, the_line_end_is_added_behind_the_data) {
  EXPECT_EQ(encode_send_packet(L"41", true, true), (Bytes{0x41, 0x0D, 0x0A}));
  EXPECT_EQ(encode_send_packet(L"41", false, true), (Bytes{'4', '1', 0x0D, 0x0A}));
  EXPECT_EQ(encode_send_packet(L"<LF>", false, false), (Bytes{0x0A}));
  EXPECT_EQ(repeated(L"\\xAB", kMaxPacketBytes).size(), kMaxPacketCharacters);
}

TEST(ByteTokens, every_byte_but_the_backslash_is_read_back_from_its_token) {
  for (unsigned value = 0; value < 256; ++value) {
    const Bytes bytes{static_cast<std::uint8_t>(value)};
    EXPECT_EQ(parse_hex_packet(format_hex_bytes(bytes)), bytes) << value;
    const std::wstring token = format_ascii_tokens(bytes);
    if (value == '\\') {
      EXPECT_EQ(token, L"\\");
      continue;
    }
    EXPECT_EQ(parse_ascii_packet(token), bytes) << value;
    EXPECT_EQ(token.size() == 1, value >= 0x20 && value < 0x7F) << value;
  }
  EXPECT_EQ(format_ascii_tokens(Bytes{0x00, 0x09, 0x0D, 0x1F, ' ', '<', '~', 0x7F, 0x80, 0xAB, 0xFF}),
            L"<NUL><TAB><CR><US> <~<DEL><0x80><0xAB><0xFF>");
}

TEST(DisplayBytes, hidden_line_ends_still_break_the_line) {
  const Bytes bytes{'A', 0x0D, 0x0A, 'B', 0x0D};
  struct Case {
    bool hex;
    bool break_after_lf;
    bool hide_crlf;
    const wchar_t* text;
  };
  const Case kCases[] = {
      {false, false, false, L"A<CR><LF>B<CR>"},
      {false, true, false, L"A<CR><LF>\r\nB<CR>"},
      {false, false, true, L"AB"},
      {false, true, true, L"A\r\nB"},
      {true, true, true, L"41 0D 0A 42 0D"},
  };
  for (const Case& one : kCases)
    EXPECT_EQ(format_display_bytes(bytes, one.hex, one.break_after_lf, one.hide_crlf), one.text);
}

// Blocks are written eight characters and 256 bytes at a time; the model takes one byte at a time.
TEST(DisplayBytes, a_block_reads_like_its_bytes_one_by_one) {
  std::mt19937 random(5);
  for (std::size_t size = 0; size < 800; ++size) {
    const bool mostly_text = size % 3 != 0;
    Bytes bytes = random_bytes(random, size, mostly_text ? 0x20 : 0x00, mostly_text ? 0x7E : 0xFF);
    for (std::size_t i = size % 7; i < size; i += 1 + random() % 60)
      bytes[i] = std::array<std::uint8_t, 6>{0x0A, 0x0D, 0x1F, 0x7F, 0x80, 0x0A}[random() % 6];
    for (const bool break_after_lf : {false, true}) {
      for (const bool hide_crlf : {false, true}) {
        std::wstring expected;
        for (const std::uint8_t byte : bytes) {
          if (!hide_crlf || (byte != 0x0D && byte != 0x0A)) append_byte_token(expected, byte);
          if (break_after_lf && byte == 0x0A) expected += L"\r\n";
        }
        ASSERT_EQ(format_display_bytes(bytes, false, break_after_lf, hide_crlf), expected) << size;
      }
    }
  }
}

TEST(Whitespace, is_exactly_the_set_that_is_trimmed_and_skipped) {
  const auto expected = [](unsigned unit) {
    constexpr unsigned kOthers[] = {0x20, 0x85, 0xA0, 0x1680, 0x2028, 0x2029, 0x202F, 0x205F, 0x3000};
    return (unit >= 0x09 && unit <= 0x0D) || (unit >= 0x2000 && unit <= 0x200A) ||
           std::find(std::begin(kOthers), std::end(kOthers), unit) != std::end(kOthers);
  };
  for (unsigned unit = 0; unit <= 0xFFFF; ++unit) {
    const std::wstring space(1, static_cast<wchar_t>(unit));
    ASSERT_EQ(trim_whitespace(space + L"x" + space) == L"x", expected(unit)) << std::hex << unit;
    const bool skipped = error_of([&] { parse_hex_packet(L"4" + space + L"1"); }) == "no error";
    ASSERT_EQ(skipped, expected(unit)) << std::hex << unit;
  }
  EXPECT_EQ(trim_whitespace(L" \t "), L"");
  EXPECT_EQ(trim_whitespace(L" a b "), L"a b");
}

TEST(HexInput, is_spaced_out_while_it_is_typed_and_the_caret_keeps_its_digit) {
  struct Case {
    const char* name;
    std::wstring text;
    std::size_t caret;
    std::wstring spaced;
    std::size_t new_caret;
  };
  const Case kCases[] = {
      {"digits run together", L"02434D44", 8, L"02 43 4D 44", 11},
      {"caret at the start", L"0243", 0, L"02 43", 0},
      {"caret behind the first digit", L"0243", 1, L"02 43", 1},
      {"caret between the pairs", L"0243", 2, L"02 43", 2},
      {"caret behind the third digit", L"0243", 3, L"02 43", 4},
      {"spaces before the caret count nothing", L" 0 2  43", 5, L"02 43", 2},
      {"lower case", L"ab cd", 5, L"AB CD", 5},
      {"space at the end", L"AB ", 3, L"AB", 2},
      {"only whitespace", L"  ", 1, L"", 0},
      {"caret beyond the end", L"0243", 99, L"02 43", 5},
  };
  for (const Case& one : kCases) {
    const HexReformat result = reformat_hex_input(one.text, one.caret);
    EXPECT_TRUE(result.changed) << one.name;
    EXPECT_EQ(result.text, one.spaced) << one.name;
    EXPECT_EQ(result.caret, one.new_caret) << one.name;
    EXPECT_FALSE(reformat_hex_input(result.text, result.caret).changed) << one.name;
  }
  for (const wchar_t* left_as_typed : {L"", L"02 43", L"024", L"02 4x", L"0x02"})
    EXPECT_FALSE(reformat_hex_input(left_as_typed, 1).changed) << utf16_to_utf8(left_as_typed);
}

}  // namespace
}  // namespace hvt
