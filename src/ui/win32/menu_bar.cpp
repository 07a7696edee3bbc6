#include "ui/win32/menu_bar.h"

#include <commctrl.h>

#include <array>
#include <utility>

namespace hvt {
namespace {

constexpr std::array kMenus{ControlId::menu_language, ControlId::menu_theme, ControlId::menu_help};

bool is_bar_key(WPARAM key) {
  switch (key) {
    case VK_RETURN:
    case VK_SPACE:
    case VK_DOWN:
    case VK_UP:
    case VK_LEFT:
    case VK_RIGHT:
    case VK_ESCAPE: return true;
    default: return false;
  }
}

bool asks_for_bar_key(LPARAM message_pointer) {
  const auto* const message = reinterpret_cast<const MSG*>(message_pointer);
  return message != nullptr && message->message == WM_KEYDOWN && is_bar_key(message->wParam);
}

}  // namespace

void MenuBar::attach(const NativeControls& controls, std::function<void(MenuItem)> chosen) {
  controls_ = &controls;
  chosen_ = std::move(chosen);
  for (const ControlId menu : kMenus)
    SetWindowSubclass(controls[menu], procedure, index_of(menu) + 2, reinterpret_cast<DWORD_PTR>(this));
}

ControlId MenuBar::neighbour(ControlId menu, int step) const {
  std::size_t at = 0;
  while (kMenus[at] != menu)
    ++at;
  return kMenus[(at + (step > 0 ? 1 : kMenus.size() - 1)) % kMenus.size()];
}

void MenuBar::open(ControlId menu, PopupMenu::Highlight highlight) {
  const HWND button = (*controls_)[menu];
  PopupOffer offer;
  std::vector<MenuItem> items;
  for (const MenuRow& row : kMenuItems) {
    if (row.menu != menu) continue;
    const MenuItemState& state = states_[index_of(row.item)];
    offer.entries.push_back({std::wstring{state.caption}, true, row.exclusive, state.checked});
    items.push_back(row.item);
  }
  GetWindowRect(button, &offer.anchor);
  offer.button = button;
  offer.font = font_of(button);
  offer.chosen = [this, items](std::size_t index) { chosen_(items[index]); };
  offer.sideways = [this, menu](int step) {
    const ControlId next = neighbour(menu, step);
    if (GetFocus() == (*controls_)[menu]) SetFocus((*controls_)[next]);
    open(next, PopupMenu::Highlight::first);
  };
  popup_.open(GetParent(button), std::move(offer), highlight);
}

void MenuBar::enter() {
  const HWND first = (*controls_)[kMenus.front()];
  if (GetFocus() == first) return leave();
  before_ = GetFocus();
  SendMessageW(GetParent(first), WM_CHANGEUISTATE, MAKEWPARAM(UIS_CLEAR, UISF_HIDEFOCUS), 0);
  SetFocus(first);
}

void MenuBar::leave() {
  const HWND before = std::exchange(before_, nullptr);
  if (before != nullptr && IsWindowVisible(before) && IsWindowEnabled(before)) SetFocus(before);
}

void MenuBar::press(ControlId menu) {
  if (popup_.button() == (*controls_)[menu]) return popup_.close();
  open(menu, PopupMenu::Highlight::none);
}

bool MenuBar::take_key(ControlId menu, WPARAM key) {
  switch (key) {
    case VK_RETURN:
    case VK_SPACE:
    case VK_DOWN:
    case VK_UP: open(menu, PopupMenu::Highlight::first); return true;
    case VK_LEFT:
    case VK_RIGHT: SetFocus((*controls_)[neighbour(menu, key == VK_LEFT ? -1 : 1)]); return true;
    case VK_ESCAPE: leave(); return true;
    default: return false;
  }
}

LRESULT CALLBACK MenuBar::procedure(HWND button, UINT message, WPARAM first, LPARAM second, UINT_PTR subclass,
                                    DWORD_PTR data) {
  MenuBar& bar = *reinterpret_cast<MenuBar*>(data);
  const auto menu = static_cast<ControlId>(subclass - 2);
  switch (message) {
    case WM_LBUTTONDOWN:
    case WM_LBUTTONDBLCLK: bar.press(menu); return 0;
    case BM_CLICK: bar.open(menu, PopupMenu::Highlight::first); return 0;
    case WM_MOUSEMOVE:
      if (const HWND open = bar.popup_.button(); open != nullptr && open != button)
        bar.open(menu, PopupMenu::Highlight::none);
      break;
    case WM_GETDLGCODE:
      if (asks_for_bar_key(second)) return DLGC_WANTMESSAGE;
      return DLGC_BUTTON | DLGC_WANTARROWS;
    case WM_KEYDOWN:
      if (bar.take_key(menu, first)) return 0;
      break;
    case WM_NCDESTROY: RemoveWindowSubclass(button, procedure, subclass); break;
    default: break;
  }
  return DefSubclassProc(button, message, first, second);
}

}  // namespace hvt
