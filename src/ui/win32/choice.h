#pragma once

#include <windows.h>

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "ui/win32/look.h"

namespace hvt {

// A drop-down list without an edit field: an owner-drawn combo box that keeps its strings, so that it can
// show a placeholder while nothing is selected and stand at any height. The functions take the native
// control.
inline constexpr DWORD kChoiceStyle = CBS_DROPDOWNLIST | CBS_OWNERDRAWFIXED | CBS_HASSTRINGS | WS_VSCROLL;

// Has it painted in the window's colours; `look` outlives it. The wheel changes the choice only while it has
// the keyboard: a scroll across the window must not pick another baud rate. Otherwise the parent gets the
// wheel.
void make_choice(HWND choice, const Look& look, ThemeColor ground);

// Replaces entries and selection; raises no notification. `placeholder` is shown while nothing is selected.
void set_choice_entries(HWND choice, std::span<const std::wstring> entries,
                        std::optional<std::size_t> selected, std::wstring_view placeholder);
std::optional<std::size_t> selected_entry(HWND choice);

// Pixels of the widest entry; 0 without entries.
int widest_entry(HWND choice);

// The field takes this height; the list opens below it.
void set_choice_height(HWND choice, int height);

// Answers WM_DRAWITEM: one entry of the open list.
void draw_choice_entry(const DRAWITEMSTRUCT& item, const Look& look);

// The window of the open list; null when the system does not tell it.
HWND list_of(HWND choice);

}  // namespace hvt
