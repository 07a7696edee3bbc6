#pragma once

#include <windows.h>

namespace hvt {

// The program runs on Wine, where some system interfaces behave differently. Every use stands alone in one
// small function that says how.
inline bool runs_on_wine() {
  const HMODULE ntdll = GetModuleHandleW(L"ntdll.dll");
  return ntdll != nullptr && GetProcAddress(ntdll, "wine_get_version") != nullptr;
}

}  // namespace hvt
