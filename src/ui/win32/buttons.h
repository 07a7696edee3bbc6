#pragma once

#include <windows.h>

#include "ui/theme.h"
#include "ui/win32/look.h"

namespace hvt {

enum class ButtonLook {
  push,
  primary,  // filled: what a person looks for first
  record,   // push with a dot in the colour of recordings
  follow,   // a double triangle in place of the caption
  flat,     // in the bar of the menus
  badge,
  check,
  radio,
  entry,         // of a menu; highlighted while it is pushed
  marked_entry,  // of a menu; with a mark while it is checked
};

// Has a native button (of any style but owner-drawn) painted in the window's colours. It stays a button to
// everyone who asks. `look` outlives it.
void make_button(HWND button, ButtonLook kind, const Look& look, ThemeColor ground);

// Pixels that an entry of a menu needs around its text.
int entry_frame_width(HWND window);

}  // namespace hvt
