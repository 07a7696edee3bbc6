#pragma once

#include <windows.h>

#include <functional>
#include <vector>

#include "ui/menus.h"
#include "ui/win32/native_controls.h"
#include "ui/win32/popup_menu.h"

namespace hvt {

// The menu buttons of the window and the menus that they open.
//
// Promises  a menu opens on a press and by Enter, Space or an arrow key; Left and Right lead to its
//           neighbours; Escape closes and leaves or gives back the keyboard to where it was.
// Threads   the interface thread.
// Owns      nothing native; `popup` and the controls outlive it.
class MenuBar {
 public:
  explicit MenuBar(PopupMenu& popup) : popup_(popup) {}

  // `chosen` must not throw.
  void attach(const NativeControls& controls, std::function<void(MenuItem)> chosen);
  void set_states(const MenuStates& states) { states_ = states; }
  void open(ControlId menu, PopupMenu::Highlight highlight);
  // The keyboard to the first menu.
  void enter();

 private:
  static LRESULT CALLBACK procedure(HWND button, UINT message, WPARAM first, LPARAM second, UINT_PTR id,
                                    DWORD_PTR bar);
  bool take_key(ControlId menu, WPARAM key);
  void press(ControlId menu);
  void leave();
  // The menu beside another, around the ends.
  ControlId neighbour(ControlId menu, int step) const;

  PopupMenu& popup_;
  const NativeControls* controls_ = nullptr;
  std::function<void(MenuItem)> chosen_;
  MenuStates states_{};
  HWND before_ = nullptr;  // had the keyboard when the bar was entered
};

}  // namespace hvt
