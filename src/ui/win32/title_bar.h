#pragma once

#include <windows.h>

namespace hvt {

// The title bar of a top-level window in the light or the dark appearance, by the Desktop Window Manager; a
// system without it, or without one of its attributes, keeps its own colours.
//
// Promises  in the dark appearance the colours are those of the window's last activation, also when setting
//           them brings further activations about.
// Threads   the interface thread.
// Owns      nothing; the window goes before the object, or apply() with light comes first.
class TitleBar {
 public:
  using SetAttribute = HRESULT(WINAPI*)(HWND, DWORD, LPCVOID, DWORD);

  // The system's own function, found at run time.
  TitleBar();
  explicit TitleBar(SetAttribute function) : set_(function) {}
  TitleBar(const TitleBar&) = delete;
  TitleBar& operator=(const TitleBar&) = delete;

  void apply(HWND window, bool dark);

 private:
  static LRESULT CALLBACK procedure(HWND window, UINT message, WPARAM first, LPARAM second, UINT_PTR,
                                    DWORD_PTR bar);
  void show_activation(HWND window, bool active);
  void set(HWND window, DWORD attribute, DWORD value) const;

  SetAttribute set_;
  bool busy_ = false;           // colours are being set
  bool wanted_active_ = false;  // the last activation state
};

}  // namespace hvt
