#include "base/text.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <stdexcept>
#include <type_traits>

namespace hvt {
namespace {

constexpr std::uint32_t kReplacement = 0xFFFD;
constexpr std::size_t kMaxUnits = std::numeric_limits<std::int32_t>::max();
constexpr bool kPathsAreWide = std::is_same_v<std::filesystem::path::string_type, std::wstring>;

// A decoded character and the units or bytes it took; length 0 where the text is malformed.
struct Decoded {
  std::uint32_t scalar = 0;
  std::size_t length = 0;
  Utf8Fault fault = Utf8Fault::kNone;  // of UTF-8 that is malformed
};

constexpr Decoded malformed_by(Utf8Fault fault) {
  return {0, 0, fault};
}

Decoded decode_utf16(std::wstring_view text) {
  const auto unit = static_cast<std::uint32_t>(text[0]);
  if (unit > 0xFFFF || is_low_surrogate(unit)) return {};
  if (!is_high_surrogate(unit)) return {unit, 1};
  if (text.size() < 2) return {};
  const auto low = static_cast<std::uint32_t>(text[1]);
  if (!is_low_surrogate(low)) return {};
  return {surrogate_pair(unit, low), 2};
}

struct SequenceForm {
  std::uint8_t first_lead;
  std::uint8_t last_lead;
  std::uint8_t payload_mask;
  std::size_t length;
  std::uint32_t smallest_scalar;  // anything below is an overlong form
};

constexpr SequenceForm kSequenceForms[] = {
    {0x00, 0x7F, 0x7F, 1, 0x0},
    {0xC2, 0xDF, 0x1F, 2, 0x80},
    {0xE0, 0xEF, 0x0F, 3, 0x800},
    {0xF0, 0xF4, 0x07, 4, 0x10000},
};

Decoded decode_utf8(std::string_view bytes) {
  const auto lead = static_cast<std::uint8_t>(bytes[0]);
  const auto* form = std::find_if(std::begin(kSequenceForms), std::end(kSequenceForms),
                                  [&](const auto& f) { return lead >= f.first_lead && lead <= f.last_lead; });
  if (form == std::end(kSequenceForms)) return malformed_by(Utf8Fault::kLead);
  if (bytes.size() < form->length) return malformed_by(Utf8Fault::kIncomplete);
  std::uint32_t scalar = lead & form->payload_mask;
  for (const char byte : bytes.substr(1, form->length - 1)) {
    const auto continuation = static_cast<std::uint8_t>(byte);
    if ((continuation & 0xC0) != 0x80) return malformed_by(Utf8Fault::kContinuation);
    scalar = (scalar << 6) | (continuation & 0x3Fu);
  }
  const bool surrogate = is_high_surrogate(scalar) || is_low_surrogate(scalar);
  if (scalar < form->smallest_scalar || scalar > 0x10FFFF || surrogate)
    return malformed_by(Utf8Fault::kScalar);
  return {scalar, form->length};
}

void append_utf16(std::wstring& text, std::uint32_t scalar) {
  if (scalar < 0x10000) {
    text.push_back(static_cast<wchar_t>(scalar));
    return;
  }
  text.push_back(static_cast<wchar_t>(0xD800 + ((scalar - 0x10000) >> 10)));
  text.push_back(static_cast<wchar_t>(0xDC00 + ((scalar - 0x10000) & 0x3FF)));
}

// Fills `to` with the ASCII characters that `from` begins with; what is recorded is nothing else.
template <typename From, typename To>
std::size_t copy_ascii_prefix(std::basic_string_view<From> from, std::basic_string<To>& to) {
  to.resize(from.size());
  std::size_t count = 0;
  for (; count < from.size() && static_cast<std::uint32_t>(from[count]) < 0x80; ++count)
    to[count] = static_cast<To>(from[count]);
  to.resize(count);
  return count;
}

// `malformed` supplies what stands for one malformed byte, or throws.
template <typename Malformed>
std::wstring decode_all_utf8(std::string_view bytes, Malformed malformed) {
  std::wstring text;
  bytes.remove_prefix(copy_ascii_prefix(bytes, text));
  while (!bytes.empty()) {
    Decoded next = decode_utf8(bytes);
    if (next.length == 0) next = {malformed(), 1};
    append_utf16(text, next.scalar);
    bytes.remove_prefix(next.length);
  }
  return text;
}

// How many of the bytes that follow one another from the first on are ASCII.
std::size_t ascii_prefix(std::string_view bytes) {
  std::size_t count = 0;
  std::uint64_t word = 0;
  for (; count + sizeof word <= bytes.size(); count += sizeof word) {
    std::memcpy(&word, bytes.data() + count, sizeof word);
    if ((word & 0x8080808080808080) != 0) break;
  }
  while (count < bytes.size() && static_cast<std::uint8_t>(bytes[count]) < 0x80)
    ++count;
  return count;
}

}  // namespace

Utf8Fault find_utf8_fault(std::string_view bytes) {
  for (;;) {
    bytes.remove_prefix(ascii_prefix(bytes));
    if (bytes.empty()) return Utf8Fault::kNone;
    const Decoded next = decode_utf8(bytes);
    if (next.length == 0) return next.fault;
    bytes.remove_prefix(next.length);
  }
}

void append_utf8(std::string& bytes, std::uint32_t scalar) {
  if (scalar < 0x80) {
    bytes.push_back(static_cast<char>(scalar));
    return;
  }
  const std::size_t continuations = scalar < 0x800 ? 1 : scalar < 0x10000 ? 2 : 3;
  constexpr std::uint32_t kLeads[] = {0, 0xC0, 0xE0, 0xF0};
  bytes.push_back(static_cast<char>(kLeads[continuations] | (scalar >> (6 * continuations))));
  for (std::size_t left = continuations; left-- > 0;)
    bytes.push_back(static_cast<char>(0x80 | ((scalar >> (6 * left)) & 0x3F)));
}

std::string utf16_to_utf8(std::wstring_view text) {
  if (text.size() > kMaxUnits) throw std::runtime_error("Text is too long.");
  std::string bytes;
  text.remove_prefix(copy_ascii_prefix(text, bytes));
  while (!text.empty()) {
    const Decoded next = decode_utf16(text);
    if (next.length == 0) throw std::runtime_error("Invalid Unicode text.");
    append_utf8(bytes, next.scalar);
    text.remove_prefix(next.length);
  }
  return bytes;
}

std::wstring utf8_to_utf16(std::string_view bytes) {
  if (bytes.size() > kMaxUnits) throw std::runtime_error("Text is too long.");
  return decode_all_utf8(bytes, []() -> std::uint32_t { throw std::runtime_error("Invalid UTF-8 text."); });
}

std::wstring utf8_to_utf16_lossy(std::string_view bytes) {
  return decode_all_utf8(bytes, [] { return kReplacement; });
}

std::filesystem::path to_path(std::wstring_view text) {
  if constexpr (kPathsAreWide) {
    return std::filesystem::path(text);
  } else {
    return std::filesystem::path(utf16_to_utf8(text));
  }
}

std::wstring path_text(const std::filesystem::path& path) {
  if constexpr (kPathsAreWide) {
    return path.wstring();
  } else {
    return utf8_to_utf16_lossy(path.string());
  }
}

std::wstring ascii_upper(std::wstring_view text) {
  std::wstring upper(text);
  for (wchar_t& unit : upper) {
    if (unit >= L'a' && unit <= L'z') unit = static_cast<wchar_t>(unit - L'a' + L'A');
  }
  return upper;
}

std::wstring message_of(const std::exception& error) {
  return utf8_to_utf16_lossy(error.what());
}

}  // namespace hvt
