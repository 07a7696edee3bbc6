#pragma once

#include <cstdint>
#include <exception>
#include <filesystem>
#include <string>
#include <string_view>

namespace hvt {

// Text inside the program is UTF-16 on every system: each wchar_t of a std::wstring holds one UTF-16 code
// unit, also where wchar_t is 32 bits wide. Files and the system's byte interfaces are UTF-8.
//
// Both conversions are strict and throw std::runtime_error:
//   "Invalid Unicode text."  a surrogate without its partner, or a value that is no UTF-16 unit
//   "Invalid UTF-8 text."    malformed, overlong or surrogate UTF-8
//   "Text is too long."      more than 2147483647 units
std::string utf16_to_utf8(std::wstring_view text);
std::wstring utf8_to_utf16(std::string_view bytes);

// For text of foreign origin that must be shown whatever it holds (device names, system messages):
// every malformed byte becomes U+FFFD.
std::wstring utf8_to_utf16_lossy(std::string_view bytes);

// What is wrong with bytes that are no UTF-8.
enum class Utf8Fault {
  kNone,
  kLead,          // a byte that begins no character
  kIncomplete,    // the bytes end within a character
  kContinuation,  // a byte within a character that does not continue it
  kScalar,        // an overlong form, a surrogate, or beyond U+10FFFF
};

// The first fault in the bytes.
Utf8Fault find_utf8_fault(std::string_view bytes);

// Appends one character, which must not be a surrogate nor beyond U+10FFFF.
void append_utf8(std::string& bytes, std::uint32_t scalar);

// File-system paths: UTF-16 on Windows, UTF-8 bytes elsewhere. Where names are bytes, to_path() throws like
// utf16_to_utf8(), and path_text() shows a name that is no UTF-8 as utf8_to_utf16_lossy() does.
std::filesystem::path to_path(std::wstring_view text);
std::wstring path_text(const std::filesystem::path& path);

// The first unit of a pair, which stands for no character of its own.
constexpr bool is_high_surrogate(std::uint32_t unit) {
  return unit >= 0xD800 && unit <= 0xDBFF;
}

// The second unit of a pair, which stands for no character of its own.
constexpr bool is_low_surrogate(std::uint32_t unit) {
  return unit >= 0xDC00 && unit <= 0xDFFF;
}

// The character that a pair stands for.
constexpr std::uint32_t surrogate_pair(std::uint32_t high, std::uint32_t low) {
  return 0x10000 + ((high - 0xD800) << 10) + (low - 0xDC00);
}

// Upper case of the 26 ASCII letters; everything else unchanged, whatever the locale.
std::wstring ascii_upper(std::wstring_view text);

// What an exception says, as text for a person.
std::wstring message_of(const std::exception& error);

}  // namespace hvt
