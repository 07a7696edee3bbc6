#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>

#include "transmit/packet_text.h"

namespace hvt {

// The text of each byte in the display, and the loops that write it for whole blocks: the hot path of the
// receive view and of recording.
//
// Every entry is copied with its full array, whatever its length, and the next one overwrites the rest: a
// copy of constant size needs no loop and no branch. Buffers therefore have kSlack characters to spare.

inline constexpr std::size_t kLongestToken = 6;  // "<0xAB>"
inline constexpr std::size_t kTokenBlock = 256;  // bytes written per round of a stack buffer

template <std::size_t Size>
struct ByteText {
  std::array<wchar_t, Size> text{};
  std::size_t length = 0;

  constexpr void add(std::wstring_view more) {
    for (const wchar_t character : more)
      text[length++] = character;
  }
  constexpr std::wstring_view view() const { return {text.data(), length}; }
};

using ByteToken = ByteText<8>;
using HexPair = ByteText<4>;  // with the separating space

namespace detail {

inline constexpr std::wstring_view kHexDigits = L"0123456789ABCDEF";

constexpr ByteToken byte_token(std::size_t byte) {
  ByteToken token;
  if (byte >= 0x20 && byte < 0x7F) {
    token.text[token.length++] = static_cast<wchar_t>(byte);
    return token;
  }
  token.add(L"<");
  if (byte < 0x20) {
    token.add(kControlTokens[byte]);
  } else if (byte == 0x7F) {
    token.add(L"DEL");
  } else {
    token.add(L"0x");
    token.add(kHexDigits.substr(byte >> 4, 1));
    token.add(kHexDigits.substr(byte & 15, 1));
  }
  token.add(L">");
  return token;
}

constexpr HexPair hex_pair(std::size_t byte) {
  HexPair pair;
  pair.add(kHexDigits.substr(byte >> 4, 1));
  pair.add(kHexDigits.substr(byte & 15, 1));
  pair.add(L" ");
  return pair;
}

template <typename Text, typename Make>
constexpr std::array<Text, 256> for_every_byte(Make make) {
  std::array<Text, 256> table{};
  for (std::size_t byte = 0; byte < table.size(); ++byte)
    table[byte] = make(byte);
  return table;
}

}  // namespace detail

inline constexpr std::array<ByteToken, 256> kByteTokens =
    detail::for_every_byte<ByteToken>(detail::byte_token);
inline constexpr std::array<HexPair, 256> kHexPairs = detail::for_every_byte<HexPair>(detail::hex_pair);

inline constexpr std::size_t kSlack = ByteToken{}.text.size();
using TokenBuffer = std::array<wchar_t, kTokenBlock * kLongestToken + kSlack>;

template <typename Text>
inline wchar_t* write_text(wchar_t* at, const Text& entry) {
  std::memcpy(at, entry.text.data(), sizeof entry.text);
  return at + entry.length;
}

constexpr bool is_line_end(std::uint8_t byte) {
  return byte == '\r' || byte == '\n';
}

// True when all eight bytes are 0x20 to 0x7E: no high bit is set, before or after moving both ends of that
// range to it. (A carry or borrow between bytes starts only at a byte that fails by itself.)
inline bool eight_printable(const std::uint8_t* bytes) {
  constexpr std::uint64_t kOnes = 0x0101010101010101;
  std::uint64_t eight = 0;
  std::memcpy(&eight, bytes, sizeof eight);
  return ((eight | (eight + kOnes) | (eight - kOnes * 0x20)) & (kOnes * 0x80)) == 0;
}

// Writes tokens up to the end or, with `StopAtLineEnd`, to the first CR or LF; returns where it stopped and
// moves `at`. Printable text is widened eight characters at a time.
template <bool StopAtLineEnd>
const std::uint8_t* write_tokens(const std::uint8_t* from, const std::uint8_t* end, wchar_t*& at) {
  wchar_t* to = at;
  while (from != end) {
    const bool whole = end - from >= 8;
    if (whole && eight_printable(from)) {
      for (std::size_t i = 0; i < 8; ++i)
        to[i] = static_cast<wchar_t>(from[i]);
      from += 8;
      to += 8;
      continue;
    }
    const std::uint8_t* const part_end = whole ? from + 8 : end;
    for (; from != part_end; ++from) {
      if (StopAtLineEnd && is_line_end(*from)) {
        at = to;
        return from;
      }
      to = write_text(to, kByteTokens[*from]);
    }
  }
  at = to;
  return from;
}

// How many characters write_tokens() makes of a block. One exact allocation instead of growth made random
// bytes five times as fast (benchmark tokens/text_only/line:0).
inline std::size_t count_token_characters(std::span<const std::uint8_t> bytes) {
  std::size_t count = 0;
  const std::uint8_t* from = bytes.data();
  const std::uint8_t* const end = from + bytes.size();
  while (from != end) {
    const bool whole = end - from >= 8;
    if (whole && eight_printable(from)) {
      count += 8;
      from += 8;
      continue;
    }
    for (const std::uint8_t* const part_end = whole ? from + 8 : end; from != part_end; ++from)
      count += kByteTokens[*from].length;
  }
  return count;
}

// The ASCII display text of a block in pieces: sink(text, is_line_end_token). The tokens of CR and LF, unless
// hidden, come apart from the rest; a line break belongs to the rest.
template <typename Sink>
void write_display_tokens(std::span<const std::uint8_t> bytes, bool break_after_lf, bool hide_crlf,
                          Sink&& sink) {
  TokenBuffer buffer;
  while (!bytes.empty()) {
    const auto block = bytes.first(std::min(bytes.size(), kTokenBlock));
    bytes = bytes.subspan(block.size());
    const std::uint8_t* from = block.data();
    const std::uint8_t* const end = from + block.size();
    wchar_t* piece = buffer.data();
    wchar_t* at = piece;
    const auto flush = [&](bool line_end_tokens) {
      if (at != piece) sink(std::wstring_view(piece, static_cast<std::size_t>(at - piece)), line_end_tokens);
      piece = at;
    };
    while ((from = write_tokens<true>(from, end, at)) != end) {
      bool line_break = false;
      if (!hide_crlf) flush(false);
      for (; from != end && is_line_end(*from) && !line_break; ++from) {
        if (!hide_crlf) at = write_text(at, kByteTokens[*from]);
        line_break = break_after_lf && *from == '\n';
      }
      if (!hide_crlf) flush(true);
      if (line_break) {
        *at++ = L'\r';
        *at++ = L'\n';
      }
    }
    flush(false);
  }
}

}  // namespace hvt
