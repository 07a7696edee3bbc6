#pragma once

#include <windows.h>

#include "ui/texts.h"
#include "ui/win32/popup_menu.h"

namespace hvt {

enum class EditCommand { cut, copy, paste, select_all };

struct EditMenu {
  bool editable = false;  // with cut and paste
  bool has_selection = false;
  bool has_text = false;
};

// Opens the menu of a field or of the receive view at a place of the screen; `chosen` comes when it is
// closed.
void open_edit_menu(PopupMenu& popup, HWND field, POINT where, Language language, const EditMenu& menu,
                    HFONT font, std::function<void(EditCommand)> chosen);

// Menu of a single-line field, which does what is chosen. `where` is that of WM_CONTEXTMENU.
void open_field_menu(PopupMenu& popup, HWND edit, LPARAM where, Language language, HFONT font);

// The place that WM_CONTEXTMENU tells; from the keyboard the given corner of the window.
POINT context_place(LPARAM where, HWND window, POINT keyboard_place);

}  // namespace hvt
