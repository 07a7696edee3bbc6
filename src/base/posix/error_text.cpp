#include "base/posix/error_text.h"

#include <array>
#include <cstring>

#include "base/text.h"

namespace hvt {
namespace {

// strerror_r() comes in two forms; each overload takes the result of one of them.
[[maybe_unused]] const char* message(const char* text, const char*) {
  return text;
}
[[maybe_unused]] const char* message(int, const char* buffer) {
  return buffer;
}

}  // namespace

std::wstring errno_text(int code) {
  std::array<char, 256> buffer{};
  std::wstring text =
      utf8_to_utf16_lossy(message(strerror_r(code, buffer.data(), buffer.size()), buffer.data()));
  if (text.empty()) text = L"System error " + std::to_wstring(code);
  if (text.back() != L'.') text += L'.';
  return text;
}

}  // namespace hvt
