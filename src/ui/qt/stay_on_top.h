#pragma once

class QWidget;

namespace hvt {

// Keeps a window above all others, or no longer. A window that is shown stays the window it is: nothing
// flickers, nothing is created anew.
void set_stays_on_top(QWidget& window, bool on_top);

}  // namespace hvt
