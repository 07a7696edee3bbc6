#include "ui/win32/choice.h"

#include <commctrl.h>

#include <algorithm>

#include "ui/win32/fonts.h"

namespace hvt {
namespace {

constexpr WPARAM kField = static_cast<WPARAM>(-1);  // in place of an entry's index
constexpr UINT kNoEntry = static_cast<UINT>(-1);
constexpr int kSidePadding = 4;   // logical pixels left of a text
constexpr int kListPadding = 12;  // logical pixels beside the widest entry of the open list
constexpr int kEntrySpacing = 4;  // logical pixels between the lines of the open list

int scaled(HWND window, int logical) {
  return MulDiv(logical, static_cast<int>(GetDpiForWindow(window)), USER_DEFAULT_SCREEN_DPI);
}

std::wstring entry_text(HWND choice, WPARAM index) {
  const LRESULT length = SendMessageW(choice, CB_GETLBTEXTLEN, index, 0);
  if (length <= 0) return {};
  std::wstring text(static_cast<std::size_t>(length) + 1, L'\0');
  const LRESULT copied = SendMessageW(choice, CB_GETLBTEXT, index, reinterpret_cast<LPARAM>(text.data()));
  text.resize(static_cast<std::size_t>(std::max<LRESULT>(0, copied)));
  return text;
}

// Long device descriptions are readable in the open list whatever width the field has.
void widen_list(HWND choice) {
  const int scroll_bar = GetSystemMetricsForDpi(SM_CXVSCROLL, GetDpiForWindow(choice));
  const int width = widest_entry(choice) + scaled(choice, kListPadding) + scroll_bar;
  SendMessageW(choice, CB_SETDROPPEDWIDTH, static_cast<WPARAM>(width), 0);
}

struct EntryColors {
  int text;
  int background;
};

// System colour indices. Only entries of the open list show the selection; the field stays calm.
EntryColors entry_colors(const DRAWITEMSTRUCT& item) {
  const bool is_field = (item.itemState & ODS_COMBOBOXEDIT) != 0;
  if ((item.itemState & ODS_DISABLED) != 0) return {COLOR_GRAYTEXT, COLOR_BTNFACE};
  if (!is_field && (item.itemState & ODS_SELECTED) != 0) return {COLOR_HIGHLIGHTTEXT, COLOR_HIGHLIGHT};
  return {item.itemID == kNoEntry ? COLOR_GRAYTEXT : COLOR_WINDOWTEXT, COLOR_WINDOW};
}

// The system sends the wheel to the window under the pointer.
LRESULT CALLBACK choice_procedure(HWND choice, UINT message, WPARAM first, LPARAM second, UINT_PTR,
                                  DWORD_PTR) {
  if (message == WM_MOUSEWHEEL && GetFocus() != choice)
    return SendMessageW(GetParent(choice), message, first, second);
  return DefSubclassProc(choice, message, first, second);
}

}  // namespace

void make_choice(HWND choice) {
  SetWindowSubclass(choice, choice_procedure, 0, 0);
}

void set_choice_entries(HWND choice, std::span<const std::wstring> entries,
                        std::optional<std::size_t> selected) {
  SendMessageW(choice, CB_RESETCONTENT, 0, 0);
  for (const std::wstring& entry : entries)
    SendMessageW(choice, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(entry.c_str()));
  if (selected && *selected < entries.size()) SendMessageW(choice, CB_SETCURSEL, *selected, 0);
  widen_list(choice);
  InvalidateRect(choice, nullptr, TRUE);
}

std::optional<std::size_t> selected_entry(HWND choice) {
  const LRESULT index = SendMessageW(choice, CB_GETCURSEL, 0, 0);
  if (choice == nullptr || index == CB_ERR) return {};
  return static_cast<std::size_t>(index);
}

int widest_entry(HWND choice) {
  const HFONT font = font_of(choice);
  int widest = 0;
  const LRESULT count = SendMessageW(choice, CB_GETCOUNT, 0, 0);
  for (LRESULT index = 0; index < count; ++index)
    widest = std::max(widest, text_width(font, entry_text(choice, static_cast<WPARAM>(index))));
  return widest;
}

void set_choice_height(HWND choice, int height) {
  SendMessageW(choice, CB_SETITEMHEIGHT, 0, font_height(font_of(choice)) + scaled(choice, kEntrySpacing));
  RECT window{};
  GetWindowRect(choice, &window);
  const auto field = static_cast<int>(SendMessageW(choice, CB_GETITEMHEIGHT, kField, 0));
  const int frame = static_cast<int>(window.bottom - window.top) - field;
  if (field + frame == height || height <= frame) return;
  const int wanted = height - frame;
  SendMessageW(choice, CB_SETITEMHEIGHT, kField, wanted);
  // Wine counts two pixels of the frame in when it is set and not when it is asked.
  const auto set = static_cast<int>(SendMessageW(choice, CB_GETITEMHEIGHT, kField, 0));
  if (set != wanted) SendMessageW(choice, CB_SETITEMHEIGHT, kField, 2 * wanted - set);
}

void draw_choice(const DRAWITEMSTRUCT& item, const std::wstring& placeholder) {
  const EntryColors colors = entry_colors(item);
  FillRect(item.hDC, &item.rcItem, GetSysColorBrush(colors.background));
  RECT area = item.rcItem;
  area.left += scaled(item.hwndItem, kSidePadding);
  const std::wstring text = item.itemID == kNoEntry ? placeholder : entry_text(item.hwndItem, item.itemID);
  SetBkMode(item.hDC, TRANSPARENT);
  SetTextColor(item.hDC, GetSysColor(colors.text));
  DrawTextW(item.hDC, text.c_str(), static_cast<int>(text.size()), &area,
            DT_SINGLELINE | DT_VCENTER | DT_LEFT | DT_NOPREFIX | DT_END_ELLIPSIS);
  const bool shows_focus = (item.itemState & ODS_FOCUS) != 0 && (item.itemState & ODS_NOFOCUSRECT) == 0;
  if (shows_focus) DrawFocusRect(item.hDC, &item.rcItem);
}

}  // namespace hvt
