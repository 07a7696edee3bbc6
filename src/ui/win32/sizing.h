#pragma once

#include <windows.h>

#include "ui/geometry.h"

namespace hvt {

// Pixels that a window's frame adds around its client area.
Size frame_size(HWND window);
Size client_size(HWND window);
// Of the window's monitor, without the task bar.
Size work_area_size(HWND window);

// Enlarges the outer rectangle that a person drags to `minimum`; the edge or corner named by `edge`
// (WMSZ_...) moves, the opposite ones stay.
void enlarge_dragged_rect(RECT& rect, WPARAM edge, Size minimum);

// Outer size for a client area, limited to the work area of the window's monitor, and moved into it.
void resize_client(HWND window, Size client);

}  // namespace hvt
