#pragma once

#include <windows.h>

#include "ui/win32/rich_edit.h"

namespace hvt {

// A person's input to a rich edit control that follows the end of its text, judged by what the person does or
// by what comes of it. The control's own messages for program changes are none of these.

// True for a message that leaves the end whatever it brings about: a press on the scroll bar, a thumb drag, a
// wheel turned up while there is text above. Asked before the control handles it, because the control keeps a
// press until the button is let go.
bool leaves_end(const RichEdit& edit, UINT message, WPARAM first);

// True for keys and mouse messages that may move caret, selection or view: ask has_left_end() when the
// control has handled them.
bool may_leave_end(UINT message, WPARAM first);

// Something is selected, the caret stands in an older paragraph, or the view is higher than at
// `scroll_before`.
bool has_left_end(const RichEdit& edit, LONG scroll_before);

}  // namespace hvt
