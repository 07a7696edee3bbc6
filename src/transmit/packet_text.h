#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace hvt {

using Bytes = std::vector<std::uint8_t>;

inline constexpr std::size_t kMaxPacketBytes = 1500;       // payload of one send, automatic CR/LF included
inline constexpr std::size_t kMaxPacketCharacters = 6000;  // 1500 bytes written as "\xAB"

// Names of the bytes 0x00 to 0x1F: index = byte value. "HT" and "DEL" are further input names.
inline constexpr std::array<std::wstring_view, 32> kControlTokens{
    L"NUL", L"SOH", L"STX", L"ETX", L"EOT", L"ENQ", L"ACK", L"BEL", L"BS",  L"TAB", L"LF",
    L"VT",  L"FF",  L"CR",  L"SO",  L"SI",  L"DLE", L"DC1", L"DC2", L"DC3", L"DC4", L"NAK",
    L"SYN", L"ETB", L"CAN", L"EM",  L"SUB", L"ESC", L"FS",  L"GS",  L"RS",  L"US"};

// Packet text to bytes. All three throw std::runtime_error with a message for the user.
// Escapes \\ \n \r \t \xNN \0xNN \0 and tokens <CR>, <0xAB>; characters above U+007F are refused.
Bytes parse_ascii_packet(std::wstring_view text);
// Pairs of hex digits, whitespace anywhere.
Bytes parse_hex_packet(std::wstring_view text);
// The bytes to send: 1 to kMaxPacketBytes.
Bytes encode_send_packet(std::wstring_view text, bool hex_mode, bool auto_crlf);

// Bytes to text. parse_ascii_packet(format_ascii_tokens(b)) == b unless b holds '\\' or spells a token.
void append_byte_token(std::wstring& text, std::uint8_t byte);
std::wstring format_ascii_tokens(std::span<const std::uint8_t> bytes);
std::wstring format_hex_bytes(std::span<const std::uint8_t> bytes);
// `hex` ignores both flags. A hidden LF still breaks the line when `break_after_lf` is set.
std::wstring format_display_bytes(std::span<const std::uint8_t> bytes, bool hex, bool break_after_lf,
                                  bool hide_crlf);

std::wstring_view trim_whitespace(std::wstring_view text);

// Spaced-out form of Hex input while it is typed, and where the caret goes: after as many digits as before.
// `changed` is false when the text is already in that form or does not parse (it is left as typed).
struct HexReformat {
  bool changed = false;
  std::wstring text;
  std::size_t caret = 0;
};
HexReformat reformat_hex_input(std::wstring_view text, std::size_t caret);

}  // namespace hvt
