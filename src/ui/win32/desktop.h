#pragma once

#include <windows.h>

#include "ui/theme.h"

namespace hvt {

// What the desktop's settings say, read anew at each call.
bool desktop_prefers_dark_apps();
SystemColors desktop_colors();

// Whether this WM_SETTINGCHANGE tells of another appearance of applications.
bool tells_of_appearance(LPARAM setting);

// The parts of native controls that only the system can paint (scroll bars, tool tips) in its dark or its
// light style.
//
// Wine has no dark style: there the scroll bars of the receive view, of dialogs and of long lists stay light.
void set_system_style(HWND control, bool dark);

}  // namespace hvt
