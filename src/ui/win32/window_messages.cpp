#include <windows.h>

#include <commctrl.h>

#include <algorithm>
#include <cstdlib>
#include <utility>

#include "ui/win32/choice.h"
#include "ui/win32/desktop.h"
#include "ui/win32/edit_menu.h"
#include "ui/win32/fields.h"
#include "ui/win32/main_window.h"
#include "ui/win32/own_change.h"
#include "ui/win32/sizing.h"

// What the system tells the main window.

namespace hvt {
namespace {

bool is_checked(HWND button) {
  return SendMessageW(button, BM_GETCHECK, 0, 0) == BST_CHECKED;
}

// What a control's notification means to the program.
struct NotificationRow {
  ControlKind kind;
  WORD code;
  void (WindowEvents::*event)(ControlId);
};
constexpr NotificationRow kNotifications[] = {
    {ControlKind::button, BN_CLICKED, &WindowEvents::command},
    {ControlKind::bar_button, BN_CLICKED, &WindowEvents::command},
    {ControlKind::badge, BN_CLICKED, &WindowEvents::command},
    {ControlKind::check, BN_CLICKED, &WindowEvents::command},
    {ControlKind::radio, BN_CLICKED, &WindowEvents::command},
    {ControlKind::choice, CBN_SELCHANGE, &WindowEvents::chosen},
    {ControlKind::packet_edit, EN_CHANGE, &WindowEvents::edited},
    {ControlKind::packet_edit, kEnterPressed, &WindowEvents::command},
};

}  // namespace

// One line per message; everything else is the system's.
const Win32MainWindow::Route Win32MainWindow::kRoutes[] = {
    {WM_COMMAND, &Win32MainWindow::on_command},
    {WM_NOTIFY, &Win32MainWindow::on_notify},
    {WM_CTLCOLORSTATIC, &Win32MainWindow::on_control_colors},
    {WM_CTLCOLOREDIT, &Win32MainWindow::on_control_colors},
    {WM_CTLCOLORLISTBOX, &Win32MainWindow::on_control_colors},
    {WM_DRAWITEM, &Win32MainWindow::on_draw_item},
    {WM_ERASEBKGND, &Win32MainWindow::on_erase},
    {WM_SIZE, &Win32MainWindow::on_size},
    {WM_SIZING, &Win32MainWindow::on_sizing},
    {WM_GETMINMAXINFO, &Win32MainWindow::on_limits},
    {WM_DPICHANGED, &Win32MainWindow::on_dpi_changed},
    {DM_GETDEFID, &Win32MainWindow::on_default_button},
    {WM_CONTEXTMENU, &Win32MainWindow::on_context_menu},
    {WM_SYSCOMMAND, &Win32MainWindow::on_system_command},
    {WM_SETTINGCHANGE, &Win32MainWindow::on_setting_change},
    {WM_SYSCOLORCHANGE, &Win32MainWindow::on_colors_change},
    {WM_MOVE, &Win32MainWindow::on_move},
    {WM_ACTIVATE, &Win32MainWindow::on_activate},
    {WM_SETFOCUS, &Win32MainWindow::on_focus},
    {kTaskMessage, &Win32MainWindow::on_forwarded},
    {kDisplayMessage, &Win32MainWindow::on_forwarded},
    {WM_TIMER, &Win32MainWindow::on_forwarded},
    {kMenuMessage, &Win32MainWindow::on_menu_chosen},
    {kDialogMessage, &Win32MainWindow::on_dialog_link},
    {WM_CLOSE, &Win32MainWindow::on_close},
    {WM_ENDSESSION, &Win32MainWindow::on_end_session},
    {WM_DESTROY, &Win32MainWindow::on_destroy},
    {WM_NCDESTROY, &Win32MainWindow::on_gone},
};

LRESULT CALLBACK Win32MainWindow::procedure(HWND window, UINT id, WPARAM first, LPARAM second) {
  if (id == WM_NCCREATE) {
    auto* const self =
        static_cast<Win32MainWindow*>(reinterpret_cast<const CREATESTRUCTW*>(second)->lpCreateParams);
    self->window_ = window;
    SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(self));
  }
  auto* const self = reinterpret_cast<Win32MainWindow*>(GetWindowLongPtrW(window, GWLP_USERDATA));
  if (self == nullptr) return DefWindowProcW(window, id, first, second);
  return self->dispatch(window, {id, first, second});
}

// The system calls us and must not see our exceptions: the first one is kept and ends the message loop.
LRESULT Win32MainWindow::dispatch(HWND window, const Message& message) {
  try {
    if (const Answer answer = route(message)) return *answer;
  } catch (...) {
    if (!failure_) failure_ = std::current_exception();
    live_ = false;
    PostQuitMessage(EXIT_FAILURE);
  }
  return DefWindowProcW(window, message.id, message.first, message.second);
}

Win32MainWindow::Answer Win32MainWindow::route(const Message& message) {
  for (const Route& row : kRoutes) {
    if (row.message == message.id) return (this->*row.handler)(message);
  }
  return {};
}

void Win32MainWindow::rethrow_failure() {
  if (failure_) std::rethrow_exception(std::exchange(failure_, nullptr));
}

bool Win32MainWindow::takes(MSG& message) {
  if (handle() == nullptr) return false;
  if (popup_.takes(message)) return true;
  const HWND root = GetAncestor(message.hwnd, GA_ROOT);
  if (root == handle() && message.message == WM_SYSCHAR && take_access_key(message)) return true;
  return (root == handle() || is_dialog(root)) && IsDialogMessageW(root, &message) != FALSE;
}

// Where the keyboard writes another alphabet, the key counts, not its character.
bool Win32MainWindow::take_access_key(const MSG& message) {
  constexpr LPARAM kScanCode = 0xFF;
  const auto key = static_cast<UINT>((message.lParam >> 16) & kScanCode);
  auto id = control_of_access_key(static_cast<char32_t>(message.wParam));
  if (!id) id = control_of_access_key(MapVirtualKeyW(key, MAPVK_VSC_TO_VK));
  if (!id || !live_) return false;
  const HWND target = controls_[*id];
  if (!IsWindowVisible(target) || !IsWindowEnabled(target)) return true;
  const ControlKind kind = control(*id).kind;
  SendMessageW(handle(), WM_CHANGEUISTATE, MAKEWPARAM(UIS_CLEAR, UISF_HIDEFOCUS), 0);
  if (is_push(kind)) {
    SendMessageW(target, BM_CLICK, 0, 0);
  } else {
    SetFocus(target);
  }
  return true;
}

bool Win32MainWindow::is_dialog(HWND window) const {
  if (window == nullptr) return false;
  return std::any_of(dialogs_.begin(), dialogs_.end(),
                     [window](const auto& dialog) { return dialog && dialog->window() == window; }) ||
         (notice_ && notice_->window() == window);
}

Win32MainWindow::Answer Win32MainWindow::on_command(const Message& message) {
  const auto id = control_of(LOWORD(message.first));
  if (LOWORD(message.first) == IDOK) press_focused_button();
  if (!id || message.second == 0 || !live_ || own_changes_ > 0) return 0;
  const ControlKind kind = control(*id).kind;
  if (kind == ControlKind::choice && HIWORD(message.first) == CBN_DROPDOWN) tips_.set_shown(false);
  if (kind == ControlKind::choice && HIWORD(message.first) == CBN_CLOSEUP) tips_.set_shown(true);
  // A radio button reports the focus and every click; only the change is a command.
  if (kind == ControlKind::radio && is_checked(controls_[*id])) return 0;
  for (const NotificationRow& row : kNotifications) {
    if (row.kind == kind && row.code == HIWORD(message.first)) (events_.*row.event)(*id);
  }
  return 0;
}

// Enter, which no field took, comes back as this command.
Win32MainWindow::Answer Win32MainWindow::on_default_button(const Message&) {
  return MAKELRESULT(IDOK, DC_HASDEFID);
}

void Win32MainWindow::press_focused_button() {
  const HWND focus = GetFocus();
  const auto id = control_of(GetDlgCtrlID(focus));
  if (!id || GetParent(focus) != handle()) return;
  const ControlKind kind = control(*id).kind;
  if (is_push(kind) && !has_mark(kind)) SendMessageW(focus, BM_CLICK, 0, 0);
}

Win32MainWindow::Answer Win32MainWindow::on_notify(const Message& message) {
  const auto* const header = reinterpret_cast<const NMHDR*>(message.second);
  if (header->code != TTN_GETDISPINFOW) return {};
  tips_.answer(*reinterpret_cast<NMTTDISPINFOW*>(message.second));
  return 0;
}

// The list of a choice asks too: its entries stand inside a field.
Win32MainWindow::Answer Win32MainWindow::on_control_colors(const Message& message) {
  const auto window = reinterpret_cast<HWND>(message.second);
  const auto id = control_of(GetDlgCtrlID(window));
  const ControlColors colors =
      control_colors(look_, control(id.value_or(ControlId::port)), IsWindowEnabled(window) != FALSE);
  const auto dc = reinterpret_cast<HDC>(message.first);
  SetTextColor(dc, colors.text);
  SetBkColor(dc, colors.background);
  return reinterpret_cast<LRESULT>(colors.brush);
}

Win32MainWindow::Answer Win32MainWindow::on_draw_item(const Message& message) {
  draw_choice_entry(*reinterpret_cast<const DRAWITEMSTRUCT*>(message.second), look_);
  return TRUE;
}

Win32MainWindow::Answer Win32MainWindow::on_erase(const Message& message) {
  RECT client{};
  GetClientRect(handle(), &client);
  paint_background(reinterpret_cast<HDC>(message.first), look_, client, sections_);
  return 1;
}

Win32MainWindow::Answer Win32MainWindow::on_size(const Message& message) {
  popup_.close();
  if (live_ && message.first != SIZE_MINIMIZED) events_.resized(client_size());
  return 0;
}

Size Win32MainWindow::minimum_window_size(int proposed_width) {
  const Size frame = frame_size(handle());
  const Size client = events_.minimum_client_size(proposed_width - frame.width);
  return {client.width + frame.width, client.height + frame.height};
}

Win32MainWindow::Answer Win32MainWindow::on_sizing(const Message& message) {
  if (!live_) return {};
  RECT& rect = *reinterpret_cast<RECT*>(message.second);
  enlarge_dragged_rect(rect, message.first, minimum_window_size(rect.right - rect.left));
  return TRUE;
}

// The smallest size of all; while the edges are dragged, the exact one for the width follows in on_sizing().
Win32MainWindow::Answer Win32MainWindow::on_limits(const Message& message) {
  if (!live_) return {};
  auto& limits = *reinterpret_cast<MINMAXINFO*>(message.second);
  const Size smallest = minimum_window_size(limits.ptMaxTrackSize.x);
  limits.ptMinTrackSize = {smallest.width, smallest.height};
  return 0;
}

Win32MainWindow::Answer Win32MainWindow::on_dpi_changed(const Message& message) {
  fit_to_dpi(LOWORD(message.first));
  if (live_) events_.metrics_changed();
  // The suggestion is the old size at the new scale; fonts do not grow as evenly.
  RECT rect = *reinterpret_cast<const RECT*>(message.second);
  if (live_) enlarge_dragged_rect(rect, WMSZ_BOTTOMRIGHT, minimum_window_size(rect.right - rect.left));
  SetWindowPos(handle(), nullptr, rect.left, rect.top, rect.right - rect.left, rect.bottom - rect.top,
               SWP_NOZORDER | SWP_NOACTIVATE);
  return 0;
}

Win32MainWindow::Answer Win32MainWindow::on_activate(const Message& message) {
  if (LOWORD(message.first) != WA_INACTIVE) return {};
  popup_.close();
  const HWND focus = GetFocus();
  if (IsChild(handle(), focus)) last_focus_ = focus;
  return {};
}

Win32MainWindow::Answer Win32MainWindow::on_move(const Message&) {
  popup_.close();
  return {};
}

// Alt or F10 alone; with a character (Alt+Space) it is the system's menu.
Win32MainWindow::Answer Win32MainWindow::on_system_command(const Message& message) {
  if ((message.first & 0xFFF0) != SC_KEYMENU || message.second != 0) return {};
  menus_.enter();
  return 0;
}

Win32MainWindow::Answer Win32MainWindow::on_setting_change(const Message& message) {
  if (live_ && tells_of_appearance(message.second)) events_.appearance_changed();
  return {};
}

Win32MainWindow::Answer Win32MainWindow::on_colors_change(const Message&) {
  if (live_) events_.appearance_changed();
  return {};
}

Win32MainWindow::Answer Win32MainWindow::on_context_menu(const Message& message) {
  const auto field = reinterpret_cast<HWND>(message.first);
  const auto id = control_of(GetDlgCtrlID(field));
  if (!id || GetParent(field) != handle()) return {};
  switch (control(*id).kind) {
    case ControlKind::packet_edit:
    case ControlKind::number_edit:
    case ControlKind::name_edit:
      open_field_menu(popup_, field, message.second, receive_view_.language(), fonts_.interface_font());
      return 0;
    default: return {};
  }
}

// Chosen a moment ago; the menu is closed by now.
Win32MainWindow::Answer Win32MainWindow::on_menu_chosen(const Message& message) {
  if (live_) events_.menu_chosen(static_cast<MenuItem>(message.first));
  return 0;
}

Win32MainWindow::Answer Win32MainWindow::on_dialog_link(const Message& message) {
  if (live_) events_.dialog_link(static_cast<DialogId>(message.first));
  return 0;
}

// The usual first control, or the next one that is of use.
HWND Win32MainWindow::first_focus() const {
  const HWND first = controls_[kFirstFocus];
  if (IsWindowVisible(first) && IsWindowEnabled(first)) return first;
  return GetNextDlgTabItem(handle(), first, FALSE);
}

Win32MainWindow::Answer Win32MainWindow::on_focus(const Message&) {
  const bool usable =
      IsChild(handle(), last_focus_) && IsWindowVisible(last_focus_) && IsWindowEnabled(last_focus_);
  const OwnChange change{own_changes_};
  SetFocus(usable ? last_focus_ : first_focus());
  return 0;
}

Win32MainWindow::Answer Win32MainWindow::on_forwarded(const Message& message) {
  if (live_) events_.message(message.id, message.first, message.second);
  return 0;
}

void Win32MainWindow::tell_closing() {
  if (!live_ || std::exchange(closing_told_, true)) return;
  events_.closing();
}

Win32MainWindow::Answer Win32MainWindow::on_close(const Message&) {
  tell_closing();
  DestroyWindow(handle());
  return 0;
}

Win32MainWindow::Answer Win32MainWindow::on_end_session(const Message& message) {
  if (message.first != FALSE) tell_closing();
  return 0;
}

// A window that goes with its object leaves no quit message behind: it would close the next message box.
Win32MainWindow::Answer Win32MainWindow::on_destroy(const Message&) {
  popup_.close();
  for (const ControlRow& row : kControls)
    names_.forget(controls_[row.id]);
  if (std::exchange(live_, false)) PostQuitMessage(EXIT_SUCCESS);
  return 0;
}

Win32MainWindow::Answer Win32MainWindow::on_gone(const Message&) {
  SetWindowLongPtrW(handle(), GWLP_USERDATA, 0);
  controls_.forget();
  receive_view_.release();
  window_ = nullptr;
  return 0;
}

}  // namespace hvt
