#pragma once

#include "ui/win32/rich_edit.h"

namespace hvt {

// Whether the control brings its caret into view by itself. A control is made with this on.
enum class AutomaticScrolling { off, on };
void set_automatic_scrolling(const RichEdit& edit, AutomaticScrolling scrolling);

}  // namespace hvt
