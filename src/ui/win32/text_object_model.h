#pragma once

#include <windows.h>

namespace hvt {

// From now on the rich edit control records nothing that could be undone.
void suspend_undo(HWND rich_edit);

// Which end of the rich edit control's selection carries the caret.
bool selection_start_is_active(HWND rich_edit);
void activate_selection_start(HWND rich_edit);

}  // namespace hvt
