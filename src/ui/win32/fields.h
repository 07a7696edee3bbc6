#pragma once

#include <windows.h>

#include <string_view>

#include "ui/theme.h"
#include "ui/win32/look.h"

namespace hvt {

// Notification code of WM_COMMAND: Enter was pressed in a field.
inline constexpr WORD kEnterPressed = 0x7001;

// Gives an edit control without a border of its own the looks and keys of this window's fields: the text
// stands in the middle of whatever height the control has, the frame shows the focus, and Enter reports
// kEnterPressed to the parent. `surface` is its inside, `ground` what it stands on; `look` outlives it.
void make_field(HWND edit, const Look& look, ThemeColor ground, ThemeColor surface);
// Shown while the field is empty and without the keyboard.
void set_field_hint(HWND edit, std::wstring_view hint);

// Leaves Tab, Enter and Escape in the receive view to the window, as in any other field, and frames it.
void make_receive_field(HWND rich_edit, const Look& look);

}  // namespace hvt
