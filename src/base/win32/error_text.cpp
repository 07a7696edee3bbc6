#include "base/win32/error_text.h"

#include <windows.h>

#include <memory>
#include <string_view>

namespace hvt {
namespace {

struct LocalFreer {
  void operator()(wchar_t* memory) const { LocalFree(memory); }
};

}  // namespace

std::wstring windows_error_text(std::uint32_t code) {
  wchar_t* allocated = nullptr;
  // With ALLOCATE_BUFFER the parameter of type "text" is really the address of a pointer to it.
  const DWORD length = FormatMessageW(
      FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr,
      code, 0, reinterpret_cast<wchar_t*>(&allocated), 0, nullptr);
  const std::unique_ptr<wchar_t, LocalFreer> owner(allocated);

  std::wstring_view text(length == 0 ? L"" : allocated, length);
  while (!text.empty() && (text.back() == L'\r' || text.back() == L'\n'))
    text.remove_suffix(1);
  if (text.empty()) return L"Windows error " + std::to_wstring(code);
  return std::wstring(text);
}

}  // namespace hvt
