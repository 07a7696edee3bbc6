#include "ui/win32/title_bar.h"

#include <commctrl.h>

namespace hvt {
namespace {

constexpr UINT_PTR kSubclass = 3;

// Attributes that older headers do not name.
constexpr DWORD kImmersiveDarkMode = 20;
constexpr DWORD kCaptionColor = 35;
constexpr DWORD kTextColor = 36;
constexpr DWORD kDefaultColor = 0xFFFFFFFF;

struct Caption {
  COLORREF background;
  COLORREF text;
};
constexpr Caption kActive{RGB(0, 122, 204), RGB(255, 255, 255)};
constexpr Caption kInactive{RGB(60, 60, 60), RGB(204, 204, 204)};

// Kept loaded: windows come and go.
TitleBar::SetAttribute system_function() {
  static const HMODULE library = LoadLibraryExW(L"dwmapi.dll", nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32);
  if (library == nullptr) return nullptr;
  const FARPROC found = GetProcAddress(library, "DwmSetWindowAttribute");
  return reinterpret_cast<TitleBar::SetAttribute>(reinterpret_cast<void*>(found));
}

}  // namespace

TitleBar::TitleBar() : set_(system_function()) {}

// A refusal is no failure: the system is too old for this attribute.
void TitleBar::set(HWND window, DWORD attribute, DWORD value) const {
  if (set_ != nullptr) set_(window, attribute, &value, sizeof value);
}

void TitleBar::apply(HWND window, bool dark) {
  if (!dark) {
    RemoveWindowSubclass(window, procedure, kSubclass);
    set(window, kImmersiveDarkMode, FALSE);
    set(window, kCaptionColor, kDefaultColor);
    set(window, kTextColor, kDefaultColor);
    return;
  }
  SetWindowSubclass(window, procedure, kSubclass, reinterpret_cast<DWORD_PTR>(this));
  set(window, kImmersiveDarkMode, TRUE);
  show_activation(window, GetActiveWindow() == window);
}

// Setting a colour can activate and deactivate the window before it returns.
void TitleBar::show_activation(HWND window, bool active) {
  wanted_active_ = active;
  if (busy_) return;
  busy_ = true;
  bool shown = false;
  do {
    shown = wanted_active_;
    const Caption& caption = shown ? kActive : kInactive;
    set(window, kCaptionColor, caption.background);
    set(window, kTextColor, caption.text);
  } while (shown != wanted_active_);
  busy_ = false;
}

LRESULT CALLBACK TitleBar::procedure(HWND window, UINT message, WPARAM first, LPARAM second, UINT_PTR,
                                     DWORD_PTR data) {
  TitleBar& bar = *reinterpret_cast<TitleBar*>(data);
  if (message == WM_NCDESTROY) RemoveWindowSubclass(window, procedure, kSubclass);
  if (message == WM_NCACTIVATE) bar.show_activation(window, first != FALSE);
  if (message == WM_ACTIVATEAPP) bar.show_activation(window, first != FALSE && GetActiveWindow() == window);
  return DefSubclassProc(window, message, first, second);
}

}  // namespace hvt
