#include "ui/win32/popup_menu.h"

#include <commctrl.h>

#include <algorithm>
#include <utility>

#include "ui/win32/buttons.h"
#include "ui/win32/native_controls.h"
#include "ui/win32/painted.h"

namespace hvt {
namespace {

constexpr const wchar_t* kClass = L"HalvetricSerialTest.Menu";
constexpr int kPadding = 4;      // logical pixels around the entries
constexpr int kEntrySpace = 10;  // logical pixels above and below a text, together
constexpr int kLeastWidth = 150;

void register_class(WNDPROC procedure) {
  WNDCLASSEXW description{};
  description.cbSize = sizeof description;
  description.style = CS_DROPSHADOW;
  description.lpfnWndProc = procedure;
  description.hInstance = GetModuleHandleW(nullptr);
  description.hCursor = LoadCursorW(nullptr, IDC_ARROW);
  description.lpszClassName = kClass;
  RegisterClassExW(&description);  // again: refused, and there is one
}

bool is_press(UINT message) {
  switch (message) {
    case WM_LBUTTONDOWN:
    case WM_LBUTTONDBLCLK:
    case WM_RBUTTONDOWN:
    case WM_RBUTTONDBLCLK:
    case WM_MBUTTONDOWN:
    case WM_NCLBUTTONDOWN:
    case WM_NCLBUTTONDBLCLK:
    case WM_NCRBUTTONDOWN: return true;
    default: return false;
  }
}

DWORD entry_style(const PopupEntry& entry) {
  const DWORD kind = entry.exclusive ? BS_RADIOBUTTON : BS_PUSHBUTTON;
  return WS_CHILD | WS_VISIBLE | kind | (entry.enabled ? 0 : WS_DISABLED);
}

// Where a menu of this size stands: below the anchor, above it when there is no room, inside the screen.
POINT position(const RECT& anchor, SIZE size) {
  MONITORINFO monitor{};
  monitor.cbSize = sizeof monitor;
  GetMonitorInfoW(MonitorFromRect(&anchor, MONITOR_DEFAULTTONEAREST), &monitor);
  const RECT& work = monitor.rcWork;
  const bool below = anchor.bottom + size.cy <= work.bottom || anchor.top - size.cy < work.top;
  return {std::max(work.left, std::min(anchor.left, work.right - size.cx)),
          below ? anchor.bottom : anchor.top - size.cy};
}

}  // namespace

void PopupMenu::open(HWND owner, PopupOffer offer, Highlight highlighted) {
  close();
  register_class(&PopupMenu::procedure);
  offer_ = std::move(offer);
  window_ = CreateWindowExW(WS_EX_TOOLWINDOW | WS_EX_NOACTIVATE, kClass, L"", WS_POPUP | WS_CLIPCHILDREN, 0,
                            0, 0, 0, owner, nullptr, GetModuleHandleW(nullptr), this);
  if (window_ == nullptr) return;
  if (offer_.button != nullptr) SendMessageW(offer_.button, BM_SETSTATE, TRUE, 0);
  create_entries();
  place();
  GetCursorPos(&pointer_);
  if (changed_) changed_(true);
  ShowWindow(window_, SW_SHOWNOACTIVATE);
  NotifyWinEvent(EVENT_SYSTEM_MENUPOPUPSTART, window_, OBJID_CLIENT, CHILDID_SELF);
  if (highlighted == Highlight::first) move_highlight(1, entries_.size() - 1);
}

void PopupMenu::close() {
  if (window_ == nullptr) return;
  const HWND window = std::exchange(window_, nullptr);
  const HWND button = offer_.button;
  entries_.clear();
  lit_.reset();
  NotifyWinEvent(EVENT_SYSTEM_MENUPOPUPEND, window, OBJID_CLIENT, CHILDID_SELF);
  SetWindowLongPtrW(window, GWLP_USERDATA, 0);
  DestroyWindow(window);
  if (button != nullptr) SendMessageW(button, BM_SETSTATE, FALSE, 0);
  if (changed_) changed_(false);
}

void PopupMenu::create_entries() {
  for (const PopupEntry& entry : offer_.entries) {
    const HWND button =
        CreateWindowExW(0, WC_BUTTONW, literal_caption(entry.caption).c_str(), entry_style(entry), 0, 0, 0, 0,
                        window_, nullptr, GetModuleHandleW(nullptr), nullptr);
    make_button(button, entry.exclusive ? ButtonLook::marked_entry : ButtonLook::entry, look_,
                ThemeColor::field);
    SetWindowSubclass(button, entry_procedure, entries_.size() + 2, reinterpret_cast<DWORD_PTR>(this));
    SendMessageW(button, WM_SETFONT, reinterpret_cast<WPARAM>(offer_.font), FALSE);
    SendMessageW(button, BM_SETCHECK, entry.checked ? BST_CHECKED : BST_UNCHECKED, 0);
    entries_.push_back(button);
  }
}

void PopupMenu::place() {
  // The window is not on its screen yet; its owner is.
  const HWND measure = GetWindow(window_, GW_OWNER);
  int text = scaled(measure, kLeastWidth) - entry_frame_width(measure);
  for (const PopupEntry& entry : offer_.entries)
    text = std::max(text, text_width(offer_.font, entry.caption));
  const int padding = scaled(measure, kPadding);
  const int width = text + entry_frame_width(measure);
  const int height = font_height(offer_.font) + scaled(measure, kEntrySpace);
  const SIZE size{width + 2 * padding, height * static_cast<int>(entries_.size()) + 2 * padding};
  const POINT at = position(offer_.anchor, size);
  SetWindowPos(window_, HWND_TOPMOST, at.x, at.y, size.cx, size.cy, SWP_NOACTIVATE);
  for (std::size_t i = 0; i < entries_.size(); ++i)
    MoveWindow(entries_[i], padding, padding + height * static_cast<int>(i), width, height, FALSE);
}

LRESULT CALLBACK PopupMenu::procedure(HWND window, UINT message, WPARAM first, LPARAM second) {
  if (message == WM_NCCREATE) {
    const auto& creation = *reinterpret_cast<const CREATESTRUCTW*>(second);
    SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(creation.lpCreateParams));
  }
  auto* const menu = reinterpret_cast<PopupMenu*>(GetWindowLongPtrW(window, GWLP_USERDATA));
  switch (message) {
    case WM_MOUSEACTIVATE: return MA_NOACTIVATE;
    case WM_ERASEBKGND: return 1;
    case WM_PAINT:
      if (menu == nullptr) break;
      paint_window(window, [&](Canvas& canvas, const RECT& client) {
        canvas.framed(client, 0, menu->look_[ThemeColor::field],
                      mixed(menu->look_[ThemeColor::field], menu->look_[ThemeColor::frame], 60));
      });
      return 0;
    case WM_DESTROY:  // with its owner
      if (menu != nullptr) {
        menu->window_ = nullptr;
        menu->entries_.clear();
      }
      break;
    default: break;
  }
  return DefWindowProcW(window, message, first, second);
}

// The button would take the keyboard when it is pressed.
LRESULT CALLBACK PopupMenu::entry_procedure(HWND entry, UINT message, WPARAM first, LPARAM second,
                                            UINT_PTR subclass, DWORD_PTR data) {
  PopupMenu& menu = *reinterpret_cast<PopupMenu*>(data);
  const std::size_t index = subclass - 2;
  switch (message) {
    case WM_MOUSEACTIVATE: return MA_NOACTIVATE;
    case WM_LBUTTONDOWN:
    case WM_LBUTTONDBLCLK: return 0;
    case WM_LBUTTONUP:
    case BM_CLICK: menu.choose(index); return 0;
    case WM_MOUSEMOVE: {
      POINT now{};
      GetCursorPos(&now);
      if (now.x != menu.pointer_.x || now.y != menu.pointer_.y) menu.highlight(index);
      menu.pointer_ = now;
      break;
    }
    case WM_NCDESTROY: RemoveWindowSubclass(entry, entry_procedure, subclass); break;
    default: break;
  }
  return DefSubclassProc(entry, message, first, second);
}

bool PopupMenu::takes(const MSG& message) {
  if (window_ == nullptr) return false;
  if (is_press(message.message)) {
    if (message.hwnd == window_ || IsChild(window_, message.hwnd)) return false;
    const bool on_button = message.hwnd == offer_.button && offer_.button != nullptr;
    close();
    return on_button;
  }
  switch (message.message) {
    case WM_KEYDOWN:
    case WM_SYSKEYDOWN:
      if (!take_key(message.wParam)) TranslateMessage(&message);
      return true;
    case WM_CHAR: take_character(static_cast<wchar_t>(message.wParam)); return true;
    case WM_SYSCHAR:
    case WM_MOUSEWHEEL: return true;
    default: return false;
  }
}

bool PopupMenu::take_key(WPARAM key) {
  const std::size_t last = entries_.size() - 1;
  switch (key) {
    case VK_DOWN: move_highlight(1, lit_.value_or(last)); return true;
    case VK_UP: move_highlight(-1, lit_.value_or(0)); return true;
    case VK_HOME: move_highlight(1, last); return true;
    case VK_END: move_highlight(-1, 0); return true;
    case VK_RETURN:
    case VK_SPACE:
      if (lit_) choose(*lit_);
      return true;
    case VK_LEFT:
    case VK_RIGHT:
      if (const auto sideways = offer_.sideways) sideways(key == VK_LEFT ? -1 : 1);
      return true;
    case VK_ESCAPE:
    case VK_TAB:
    case VK_MENU:
    case VK_F10: close(); return true;
    default: return false;
  }
}

// The next entry that begins with it.
void PopupMenu::take_character(wchar_t character) {
  const auto upper = [](wchar_t unit) {
    return reinterpret_cast<ULONG_PTR>(CharUpperW(reinterpret_cast<LPWSTR>(static_cast<ULONG_PTR>(unit))));
  };
  const std::size_t count = entries_.size();
  const std::size_t from = lit_ ? *lit_ + 1 : 0;
  for (std::size_t i = 0; i < count; ++i) {
    const std::size_t at = (from + i) % count;
    const PopupEntry& entry = offer_.entries[at];
    if (!entry.enabled || entry.caption.empty() || upper(entry.caption[0]) != upper(character)) continue;
    return highlight(at);
  }
}

void PopupMenu::move_highlight(int step, std::size_t from) {
  const std::size_t count = entries_.size();
  std::size_t at = from;
  for (std::size_t tries = 0; tries < count; ++tries) {
    at = (at + (step > 0 ? 1 : count - 1)) % count;
    if (offer_.entries[at].enabled) return highlight(at);
  }
}

void PopupMenu::highlight(std::size_t index) {
  if (lit_ == index) return;
  if (lit_) SendMessageW(entries_[*lit_], BM_SETSTATE, FALSE, 0);
  lit_ = index;
  SendMessageW(entries_[index], BM_SETSTATE, TRUE, 0);
  NotifyWinEvent(EVENT_OBJECT_FOCUS, entries_[index], OBJID_CLIENT, CHILDID_SELF);
}

void PopupMenu::choose(std::size_t index) {
  if (window_ == nullptr || !offer_.entries[index].enabled) return;
  const auto chosen = std::move(offer_.chosen);
  close();
  if (chosen) chosen(index);
}

}  // namespace hvt
