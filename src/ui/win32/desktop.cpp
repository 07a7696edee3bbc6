#include "ui/win32/desktop.h"

#include <uxtheme.h>

#include <array>
#include <cstddef>
#include <cwchar>

#include "ui/win32/look.h"

namespace hvt {
namespace {

constexpr const wchar_t* kPersonalizeKey =
    L"Software\\Microsoft\\Windows\\CurrentVersion\\Themes\\Personalize";
constexpr const wchar_t* kLightAppsValue = L"AppsUseLightTheme";

// In the order of SystemColor.
constexpr std::array<int, kSystemColorCount> kColorIndices{
    COLOR_BTNFACE,  COLOR_WINDOW,    COLOR_BTNTEXT,       COLOR_GRAYTEXT,
    COLOR_HOTLIGHT, COLOR_HIGHLIGHT, COLOR_HIGHLIGHTTEXT, COLOR_WINDOWFRAME};

}  // namespace

bool desktop_prefers_dark_apps() {
  DWORD light = 1;
  DWORD size = sizeof light;
  const LSTATUS status = RegGetValueW(HKEY_CURRENT_USER, kPersonalizeKey, kLightAppsValue, RRF_RT_REG_DWORD,
                                      nullptr, &light, &size);
  return status == ERROR_SUCCESS && light == 0;
}

SystemColors desktop_colors() {
  SystemColors colors;
  for (std::size_t i = 0; i < colors.size(); ++i)
    colors[i] = rgb(GetSysColor(kColorIndices[i]));
  return colors;
}

bool tells_of_appearance(LPARAM setting) {
  return setting != 0 && std::wcscmp(reinterpret_cast<const wchar_t*>(setting), L"ImmersiveColorSet") == 0;
}

void set_system_style(HWND control, bool dark) {
  SetWindowTheme(control, dark ? L"DarkMode_Explorer" : L"Explorer", nullptr);
}

}  // namespace hvt
