#pragma once

#include <windows.h>

namespace hvt {

// Notification code of WM_COMMAND: Enter was pressed in a field.
inline constexpr WORD kEnterPressed = 0x7001;

// Gives an edit control without a border of its own the looks and keys of this window's fields: the text
// stands in the middle of whatever height the control has, the frame shows the focus, and Enter reports
// kEnterPressed to the parent.
void make_field(HWND edit);

// Leaves Tab, Enter and Escape in the receive view to the window, as in any other field.
void make_receive_field(HWND rich_edit);

}  // namespace hvt
