// Prints "name x y width height" in screen pixels for every visible control of the running program's main
// window. Scripts that drive the program with the mouse read this.

#include <windows.h>

#include <cstdio>

#include "ui/controls.h"
#include "ui/win32/native_controls.h"

int main() {
  const HWND window = FindWindowW(L"HalvetricSerialTest.Main", nullptr);
  if (!window) return 1;
  for (const hvt::ControlRow& row : hvt::kControls) {
    const HWND child = GetDlgItem(window, hvt::native_id(row.id));
    RECT place{};
    if (!child || !IsWindowVisible(child) || !GetWindowRect(child, &place)) continue;
    std::printf("%.*s %ld %ld %ld %ld\n", static_cast<int>(row.name.size()), row.name.data(), place.left,
                place.top, place.right - place.left, place.bottom - place.top);
  }
}
