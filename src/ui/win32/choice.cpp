#include "ui/win32/choice.h"

#include <commctrl.h>

#include <algorithm>
#include <memory>

#include "ui/win32/fonts.h"
#include "ui/win32/painted.h"

namespace hvt {
namespace {

constexpr UINT_PTR kSubclass = 0;
constexpr UINT kSetPlaceholder = WM_APP;            // to a choice; the second parameter points to the text
constexpr WPARAM kField = static_cast<WPARAM>(-1);  // in place of an entry's index
constexpr UINT kNoEntry = static_cast<UINT>(-1);
constexpr int kSidePadding = 4;    // logical pixels left of a text
constexpr int kListPadding = 12;   // logical pixels beside the widest entry of the open list
constexpr int kEntrySpacing = 6;   // logical pixels between the lines of the open list
constexpr int kChevronRight = 14;  // logical pixels from the right edge to the middle of the arrow
constexpr int kChevronRoom = 24;   // logical pixels that the text leaves to the arrow

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

struct Choice {
  Painted painted;
  std::wstring placeholder;
};

void paint_chevron(HWND choice, Canvas& canvas, const RECT& client, COLORREF color) {
  const double unit = GetDpiForWindow(choice) / static_cast<double>(USER_DEFAULT_SCREEN_DPI);
  const double x = client.right - kChevronRight * unit;
  const double y = client.bottom / 2.0;
  const PointF chevron[]{{x - 4 * unit, y - 2 * unit}, {x, y + 2 * unit}, {x + 4 * unit, y - 2 * unit}};
  canvas.line(chevron, 1.4 * unit, color);
}

void paint_field(HWND choice, const Choice& state) {
  paint_window(choice, [&](Canvas& canvas, const RECT& client) {
    const Look& look = *state.painted.look;
    const COLORREF ground = look[state.painted.ground];
    const bool enabled = IsWindowEnabled(choice) != FALSE;
    const bool focused = GetFocus() == choice;
    const COLORREF inside = look[enabled ? ThemeColor::field : ThemeColor::disabled_field];
    COLORREF frame = field_frame(look, ground, enabled, focused);
    if (enabled && state.painted.hovered) frame = legible(look[ThemeColor::accent], ground);
    canvas.fill(client, ground);
    canvas.framed(client, scaled(choice, kFieldRadius), inside, frame);

    const auto selected = selected_entry(choice);
    const ThemeColor slot = selected ? ThemeColor::text : ThemeColor::secondary_text;
    const COLORREF color = enabled ? look.text_on(inside, slot) : look[ThemeColor::disabled_text];
    paint_chevron(choice, canvas, client, color);
    RECT area = client;
    area.left += scaled(choice, kSidePadding + 3);
    area.right -= scaled(choice, kChevronRoom);
    canvas.text(selected ? entry_text(choice, *selected) : state.placeholder, area, font_of(choice), color,
                DT_SINGLELINE | DT_VCENTER | DT_LEFT | DT_NOPREFIX | DT_END_ELLIPSIS);
  });
}

// The system sends the wheel to the window under the pointer.
bool wheel_is_for_parent(HWND choice, UINT message) {
  return message == WM_MOUSEWHEEL && GetFocus() != choice;
}

LRESULT CALLBACK choice_procedure(HWND choice, UINT message, WPARAM first, LPARAM second, UINT_PTR,
                                  DWORD_PTR data) {
  auto* const state = reinterpret_cast<Choice*>(data);
  follow_pointer(choice, message, state->painted);
  if (wheel_is_for_parent(choice, message)) return SendMessageW(GetParent(choice), message, first, second);
  switch (message) {
    case WM_ERASEBKGND: return 1;
    case WM_PAINT: paint_field(choice, *state); return 0;
    case kSetPlaceholder: state->placeholder = *reinterpret_cast<const std::wstring_view*>(second); return 0;
    case WM_NCDESTROY:
      RemoveWindowSubclass(choice, choice_procedure, kSubclass);
      delete state;
      break;
    default: break;
  }
  const LRESULT result = DefSubclassProc(choice, message, first, second);
  if (message == WM_SETFOCUS || message == WM_KILLFOCUS || message == WM_ENABLE || message == CB_SETCURSEL)
    InvalidateRect(choice, nullptr, FALSE);
  return result;
}

// The system's frame has a colour of its own.
LRESULT CALLBACK list_procedure(HWND list, UINT message, WPARAM first, LPARAM second, UINT_PTR,
                                DWORD_PTR data) {
  const LRESULT result = DefSubclassProc(list, message, first, second);
  if (message != WM_NCPAINT) return result;
  const Look& look = *reinterpret_cast<const Look*>(data);
  const HDC dc = GetWindowDC(list);
  RECT whole{};
  GetWindowRect(list, &whole);
  OffsetRect(&whole, -whole.left, -whole.top);
  SetDCBrushColor(dc, look[ThemeColor::frame]);
  FrameRect(dc, &whole, static_cast<HBRUSH>(GetStockObject(DC_BRUSH)));
  ReleaseDC(list, dc);
  return result;
}

}  // namespace

HWND list_of(HWND choice) {
  COMBOBOXINFO info{};
  info.cbSize = sizeof info;
  return GetComboBoxInfo(choice, &info) ? info.hwndList : nullptr;
}

void make_choice(HWND choice, const Look& look, ThemeColor ground) {
  auto owned = std::make_unique<Choice>(Choice{{&look, ground, false}, {}});
  if (SetWindowSubclass(choice, choice_procedure, kSubclass, reinterpret_cast<DWORD_PTR>(owned.get())))
    static_cast<void>(owned.release());  // the window's until it goes
  SetWindowSubclass(list_of(choice), list_procedure, kSubclass, reinterpret_cast<DWORD_PTR>(&look));
}

void set_choice_entries(HWND choice, std::span<const std::wstring> entries,
                        std::optional<std::size_t> selected, std::wstring_view placeholder) {
  SendMessageW(choice, kSetPlaceholder, 0, reinterpret_cast<LPARAM>(&placeholder));
  SendMessageW(choice, CB_RESETCONTENT, 0, 0);
  for (const std::wstring& entry : entries)
    SendMessageW(choice, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(entry.c_str()));
  if (selected && *selected < entries.size()) SendMessageW(choice, CB_SETCURSEL, *selected, 0);
  widen_list(choice);
  InvalidateRect(choice, nullptr, FALSE);
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

// The field is painted as one piece; only entries of the open list come here in parts.
void draw_choice_entry(const DRAWITEMSTRUCT& item, const Look& look) {
  if ((item.itemState & ODS_COMBOBOXEDIT) != 0 || item.itemID == kNoEntry) {
    InvalidateRect(item.hwndItem, nullptr, FALSE);
    return;
  }
  const bool lit = (item.itemState & ODS_SELECTED) != 0;
  const COLORREF inside = lit ? look.filled(ThemeColor::list_selection) : look[ThemeColor::field];
  RECT area = item.rcItem;
  Canvas canvas{item.hDC, area};
  canvas.fill(area, inside);
  area.left += scaled(item.hwndItem, kSidePadding + 3);
  canvas.text(entry_text(item.hwndItem, item.itemID), area, font_of(item.hwndItem),
              look.text_on(inside, lit ? ThemeColor::selection_text : ThemeColor::text),
              DT_SINGLELINE | DT_VCENTER | DT_LEFT | DT_NOPREFIX | DT_END_ELLIPSIS);
}

}  // namespace hvt
