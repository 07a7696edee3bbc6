#include "transmit/packet_text.h"

#include <algorithm>
#include <optional>
#include <stdexcept>

#include "base/text.h"
#include "transmit/byte_tokens.h"

namespace hvt {
namespace {

constexpr std::wstring_view kWhitespace =
    L"\x0009\x000A\x000B\x000C\x000D\x0020\x0085\x00A0\x1680\x2000\x2001\x2002\x2003\x2004\x2005\x2006\x2007"
    L"\x2008\x2009\x200A\x2028\x2029\x202F\x205F\x3000";

bool is_whitespace(wchar_t unit) {
  return kWhitespace.find(unit) != std::wstring_view::npos;
}

std::optional<std::uint8_t> hex_digit(wchar_t unit) {
  if (unit >= L'0' && unit <= L'9') return static_cast<std::uint8_t>(unit - L'0');
  if (unit >= L'A' && unit <= L'F') return static_cast<std::uint8_t>(unit - L'A' + 10);
  if (unit >= L'a' && unit <= L'f') return static_cast<std::uint8_t>(unit - L'a' + 10);
  return std::nullopt;
}

// The byte that the first two characters spell.
std::optional<std::uint8_t> hex_byte(std::wstring_view text) {
  if (text.size() < 2) return std::nullopt;
  const auto high = hex_digit(text[0]);
  const auto low = hex_digit(text[1]);
  if (!high || !low) return std::nullopt;
  return static_cast<std::uint8_t>(*high << 4 | *low);
}

// The byte that a token's name, without its angle brackets, stands for.
std::optional<std::uint8_t> token_byte(std::wstring_view name) {
  name = trim_whitespace(name);
  if (name.size() < 2 || name.size() > 4) return std::nullopt;
  const std::wstring upper = ascii_upper(name);
  const auto* const found = std::find(kControlTokens.begin(), kControlTokens.end(), upper);
  if (found != kControlTokens.end()) return static_cast<std::uint8_t>(found - kControlTokens.begin());
  if (upper == L"HT") return std::uint8_t{0x09};
  if (upper == L"DEL") return std::uint8_t{0x7F};
  if (upper.size() == 4 && upper.starts_with(L"0X")) return hex_byte(std::wstring_view(upper).substr(2));
  return std::nullopt;
}

// Reads an ASCII packet's text from left to right.
class AsciiPacketParser {
 public:
  explicit AsciiPacketParser(std::wstring_view text) : text_(text) {}

  Bytes parse() {
    bytes_.reserve(text_.size());
    while (at_ < text_.size()) {
      const wchar_t unit = text_[at_];
      if (unit == L'\\') {
        ++at_;
        bytes_.push_back(escape());
      } else if (unit != L'<' || !token()) {
        bytes_.push_back(character());
      }
    }
    return std::move(bytes_);
  }

 private:
  // Behind a backslash.
  std::uint8_t escape() {
    if (at_ == text_.size()) throw std::runtime_error("Enter a backslash as \\\\.");
    switch (text_[at_++]) {
      case L'\\': return 0x5C;
      case L'n': return 0x0A;
      case L'r': return 0x0D;
      case L't': return 0x09;
      case L'x':
      case L'X': return two_digits("\\xNN requires exactly two hexadecimal digits.");
      case L'0': return zero_escape();
      default: throw std::runtime_error("Unsupported escape character.");
    }
  }

  // "\0x" always begins a hexadecimal byte: it never means NUL and an x.
  std::uint8_t zero_escape() {
    if (at_ == text_.size() || (text_[at_] != L'x' && text_[at_] != L'X')) return 0x00;
    ++at_;
    return two_digits("\\0xNN requires exactly two hexadecimal digits.");
  }

  std::uint8_t two_digits(const char* error) {
    const auto byte = hex_byte(text_.substr(at_));
    if (!byte) throw std::runtime_error(error);
    at_ += 2;
    return *byte;
  }

  // False when the "<" here begins no token: it is an ordinary character then.
  bool token() {
    // Kept from one "<" to the next, so that a text full of them is searched once.
    if (close_ != std::wstring_view::npos && close_ <= at_) close_ = text_.find(L'>', at_);
    if (close_ == std::wstring_view::npos) return false;
    const auto byte = token_byte(text_.substr(at_ + 1, close_ - at_ - 1));
    if (!byte) return false;
    bytes_.push_back(*byte);
    at_ = close_ + 1;
    return true;
  }

  std::uint8_t character() {
    const auto unit = static_cast<std::uint32_t>(text_[at_++]);
    if (unit > 0x7F) {
      throw std::runtime_error(
          "ASCII mode accepts ASCII only. Use \\xNN, \\0xNN or <0xNN> for bytes 0x80-0xFF.");
    }
    return static_cast<std::uint8_t>(unit);
  }

  const std::wstring_view text_;
  std::size_t at_ = 0;
  std::size_t close_ = 0;  // the first ">" behind at_, once looked for
  Bytes bytes_;
};

}  // namespace

Bytes parse_ascii_packet(std::wstring_view text) {
  return AsciiPacketParser(text).parse();
}

Bytes parse_hex_packet(std::wstring_view text) {
  Bytes bytes;
  bytes.reserve(text.size() / 2 + 1);
  bool half = false;  // the last byte still lacks its low digit
  for (const wchar_t unit : text) {
    if (is_whitespace(unit)) continue;
    const auto digit = hex_digit(unit);
    if (!digit) throw std::runtime_error("Hex mode accepts only 0-9, A-F and whitespace.");
    if (half) {
      bytes.back() = static_cast<std::uint8_t>(bytes.back() | *digit);
    } else {
      bytes.push_back(static_cast<std::uint8_t>(*digit << 4));
    }
    half = !half;
  }
  if (half) throw std::runtime_error("Enter Hex data in pairs of two digits.");
  return bytes;
}

Bytes encode_send_packet(std::wstring_view text, bool hex_mode, bool auto_crlf) {
  Bytes bytes = hex_mode ? parse_hex_packet(text) : parse_ascii_packet(text);
  // Asked before CR/LF is added: an empty packet is never sent as a bare line end.
  if (bytes.empty()) throw std::runtime_error("The send data is empty.");
  if (auto_crlf) bytes.insert(bytes.end(), {'\r', '\n'});
  if (bytes.size() > kMaxPacketBytes) {
    throw std::runtime_error(auto_crlf ? "Send data including automatic CR/LF exceeds 1500 bytes."
                                       : "Send data exceeds 1500 bytes.");
  }
  return bytes;
}

void append_byte_token(std::wstring& text, std::uint8_t byte) {
  text.append(kByteTokens[byte].view());
}

std::wstring format_ascii_tokens(std::span<const std::uint8_t> bytes) {
  return format_display_bytes(bytes, false, false, false);
}

std::wstring format_hex_bytes(std::span<const std::uint8_t> bytes) {
  std::wstring text;
  if (bytes.empty()) return text;
  text.resize(bytes.size() * 3 + 1);  // the last pair is copied with its space and padding, then cut off
  wchar_t* at = text.data();
  for (const std::uint8_t byte : bytes)
    at = write_text(at, kHexPairs[byte]);
  text.resize(bytes.size() * 3 - 1);
  return text;
}

std::wstring format_display_bytes(std::span<const std::uint8_t> bytes, bool hex, bool break_after_lf,
                                  bool hide_crlf) {
  if (hex) return format_hex_bytes(bytes);
  std::wstring text;
  const auto breaks = break_after_lf ? std::count(bytes.begin(), bytes.end(), std::uint8_t{'\n'}) : 0;
  text.reserve(count_token_characters(bytes) + 2 * static_cast<std::size_t>(breaks));
  write_display_tokens(bytes, break_after_lf, hide_crlf,
                       [&](std::wstring_view piece, bool) { text.append(piece); });
  return text;
}

std::wstring_view trim_whitespace(std::wstring_view text) {
  const std::size_t first = text.find_first_not_of(kWhitespace);
  if (first == std::wstring_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kWhitespace) - first + 1);
}

HexReformat reformat_hex_input(std::wstring_view text, std::size_t caret) {
  Bytes bytes;
  try {
    bytes = parse_hex_packet(text);
  } catch (const std::runtime_error&) {
    return {};
  }
  std::wstring spaced = format_hex_bytes(bytes);
  if (spaced == text) return {};
  const std::wstring_view before = text.substr(0, caret);
  const auto digits = static_cast<std::size_t>(
      std::count_if(before.begin(), before.end(), [](wchar_t unit) { return !is_whitespace(unit); }));
  // Behind the last of these digits, in front of the space that follows a pair.
  const std::size_t position = digits == 0 ? 0 : digits + (digits - 1) / 2;
  return {true, std::move(spaced), position};
}

}  // namespace hvt
