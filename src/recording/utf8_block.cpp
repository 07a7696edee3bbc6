#include "recording/utf8_block.h"

#include <cstdint>

#include "base/text.h"

namespace hvt {
namespace {

constexpr std::size_t kStep = 32;  // characters; whole vector registers, and the loops are unrolled

bool is_ascii(const wchar_t* text, std::size_t count) {
  std::uint32_t bits = 0;
  for (std::size_t i = 0; i < count; ++i)
    bits |= static_cast<std::uint32_t>(text[i]);
  return bits < 0x80;
}

void narrow(const wchar_t* text, std::size_t count, char* bytes) {
  for (std::size_t i = 0; i < count; ++i)
    bytes[i] = static_cast<char>(text[i]);
}

bool narrow_ascii(std::wstring_view text, char* bytes) {
  while (text.size() >= kStep) {
    if (!is_ascii(text.data(), kStep)) return false;
    narrow(text.data(), kStep, bytes);
    text.remove_prefix(kStep);
    bytes += kStep;
  }
  if (!is_ascii(text.data(), text.size())) return false;
  narrow(text.data(), text.size(), bytes);
  return true;
}

}  // namespace

std::string_view Utf8Block::encode(std::wstring_view text) {
  if (bytes_.size() < text.size()) bytes_.resize(text.size());
  if (narrow_ascii(text, bytes_.data())) return std::string_view(bytes_).substr(0, text.size());
  bytes_ = utf16_to_utf8(text);
  return bytes_;
}

}  // namespace hvt
