#include "ui/win32/main_window.h"

#include <richedit.h>
#include <shellapi.h>

#include <algorithm>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <utility>

#include "ui/win32/choice.h"
#include "ui/win32/fields.h"
#include "ui/win32/file_dialog.h"
#include "ui/win32/sizing.h"

namespace hvt {
namespace {

constexpr DWORD kWindowStyle = WS_OVERLAPPEDWINDOW | WS_CLIPCHILDREN;

static_assert(kTaskMessage == WM_APP + 1 && kDisplayMessage == WM_APP + 2 && kTimerMessage == WM_TIMER);

// Counts one change that the program makes; what the controls report meanwhile is no event.
class OwnChange {
 public:
  explicit OwnChange(int& count) : count_(count) { ++count_; }
  ~OwnChange() { --count_; }
  OwnChange(const OwnChange&) = delete;
  OwnChange& operator=(const OwnChange&) = delete;

 private:
  int& count_;
};

void register_window_class(WNDPROC procedure) {
  WNDCLASSEXW description{};
  description.cbSize = sizeof description;
  description.lpfnWndProc = procedure;
  description.hInstance = GetModuleHandleW(nullptr);
  description.hCursor = LoadCursorW(nullptr, IDC_ARROW);
  description.lpszClassName = kMainWindowClass;
  if (RegisterClassExW(&description) == 0 && GetLastError() != ERROR_CLASS_ALREADY_EXISTS) {
    throw std::runtime_error("Could not create the main window.");
  }
}

bool has_mark(ControlKind kind) {
  return kind == ControlKind::check || kind == ControlKind::radio;
}

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
    {ControlKind::check, BN_CLICKED, &WindowEvents::command},
    {ControlKind::radio, BN_CLICKED, &WindowEvents::command},
    {ControlKind::choice, CBN_SELCHANGE, &WindowEvents::chosen},
    {ControlKind::packet_edit, EN_CHANGE, &WindowEvents::edited},
    {ControlKind::packet_edit, kEnterPressed, &WindowEvents::command},
};

}  // namespace

std::unique_ptr<MainWindow> create_main_window(WindowEvents& events, const StartupMark& mark) {
  return std::make_unique<Win32MainWindow>(events, mark);
}

// One line per message; everything else is the system's.
const Win32MainWindow::Route Win32MainWindow::kRoutes[] = {
    {WM_COMMAND, &Win32MainWindow::on_command},
    {WM_NOTIFY, &Win32MainWindow::on_notify},
    {WM_CTLCOLORSTATIC, &Win32MainWindow::on_control_colors},
    {WM_CTLCOLOREDIT, &Win32MainWindow::on_control_colors},
    {WM_CTLCOLORBTN, &Win32MainWindow::on_control_colors},
    {WM_DRAWITEM, &Win32MainWindow::on_draw_item},
    {WM_ERASEBKGND, &Win32MainWindow::on_erase},
    {WM_SIZE, &Win32MainWindow::on_size},
    {WM_SIZING, &Win32MainWindow::on_sizing},
    {WM_GETMINMAXINFO, &Win32MainWindow::on_limits},
    {WM_DPICHANGED, &Win32MainWindow::on_dpi_changed},
    {WM_ACTIVATE, &Win32MainWindow::on_activate},
    {WM_SETFOCUS, &Win32MainWindow::on_focus},
    {kTaskMessage, &Win32MainWindow::on_forwarded},
    {kDisplayMessage, &Win32MainWindow::on_forwarded},
    {WM_TIMER, &Win32MainWindow::on_forwarded},
    {WM_CLOSE, &Win32MainWindow::on_close},
    {WM_ENDSESSION, &Win32MainWindow::on_end_session},
    {WM_DESTROY, &Win32MainWindow::on_destroy},
    {WM_NCDESTROY, &Win32MainWindow::on_gone},
};

Win32MainWindow::Win32MainWindow(WindowEvents& events, const StartupMark& mark) : events_(events) {
  register_window_class(&Win32MainWindow::procedure);
  try {
    create_native(mark);
  } catch (...) {
    if (handle() != nullptr) DestroyWindow(handle());
    throw;
  }
  live_ = true;
}

Win32MainWindow::~Win32MainWindow() {
  live_ = false;
  if (handle() != nullptr) DestroyWindow(handle());
}

void Win32MainWindow::create_native(const StartupMark& mark) {
  CreateWindowExW(WS_EX_CONTROLPARENT, kMainWindowClass, L"", kWindowStyle, CW_USEDEFAULT, CW_USEDEFAULT,
                  CW_USEDEFAULT, CW_USEDEFAULT, nullptr, nullptr, GetModuleHandleW(nullptr), this);
  if (handle() == nullptr) throw std::runtime_error("Could not create the main window.");
  mark("control creation begin");
  controls_.create(handle());
  receive_view_.attach(controls_[ControlId::receive_view]);
  tips_.create(handle(), controls_[ControlId::status]);
  mark("controls created");
  fit_to_dpi(static_cast<int>(GetDpiForWindow(handle())));
  mark("fonts applied");
}

void Win32MainWindow::fit_to_dpi(int dpi) {
  Fonts fonts{dpi};
  controls_.set_fonts(fonts);
  fonts_ = std::move(fonts);
  receive_view_.set_font(kFixedFace, kFixedPoints, dpi);
  WindowIcons icons{dpi};
  icons.show_on(handle());
  icons_ = std::move(icons);
}

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

Win32MainWindow::Answer Win32MainWindow::on_command(const Message& message) {
  const auto id = control_of(LOWORD(message.first));
  if (!id || message.second == 0 || !live_ || own_changes_ > 0) return 0;
  const ControlKind kind = control(*id).kind;
  // A radio button reports the focus and every click; only the change is a command.
  if (kind == ControlKind::radio && is_checked(controls_[*id])) return 0;
  for (const NotificationRow& row : kNotifications) {
    if (row.kind == kind && row.code == HIWORD(message.first)) (events_.*row.event)(*id);
  }
  return 0;
}

Win32MainWindow::Answer Win32MainWindow::on_notify(const Message& message) {
  const auto* const header = reinterpret_cast<const NMHDR*>(message.second);
  if (header->code != TTN_GETDISPINFOW) return {};
  tips_.answer(*reinterpret_cast<NMTTDISPINFOW*>(message.second));
  return 0;
}

Win32MainWindow::Answer Win32MainWindow::on_control_colors(const Message& message) {
  const auto window = reinterpret_cast<HWND>(message.second);
  const auto id = control_of(GetDlgCtrlID(window));
  if (!id) return {};
  const ControlColors colors = surfaces_.colors(*id, IsWindowEnabled(window) != FALSE, status_tone_);
  const auto dc = reinterpret_cast<HDC>(message.first);
  SetTextColor(dc, colors.text);
  SetBkColor(dc, colors.background);
  return reinterpret_cast<LRESULT>(colors.brush);
}

Win32MainWindow::Answer Win32MainWindow::on_draw_item(const Message& message) {
  const auto id = control_of(static_cast<int>(message.first));
  if (!id) return {};
  controls_.draw_choice_item(*reinterpret_cast<const DRAWITEMSTRUCT*>(message.second), *id);
  return TRUE;
}

Win32MainWindow::Answer Win32MainWindow::on_erase(const Message& message) {
  RECT client{};
  GetClientRect(handle(), &client);
  paint_background(reinterpret_cast<HDC>(message.first), surfaces_, client, sections_);
  return 1;
}

Win32MainWindow::Answer Win32MainWindow::on_size(const Message& message) {
  if (live_ && message.first != SIZE_MINIMIZED) events_.resized(client_size(handle()));
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
  const RECT& suggested = *reinterpret_cast<const RECT*>(message.second);
  SetWindowPos(handle(), nullptr, suggested.left, suggested.top, suggested.right - suggested.left,
               suggested.bottom - suggested.top, SWP_NOZORDER | SWP_NOACTIVATE);
  return 0;
}

Win32MainWindow::Answer Win32MainWindow::on_activate(const Message& message) {
  const HWND focus = GetFocus();
  if (LOWORD(message.first) == WA_INACTIVE && IsChild(handle(), focus)) last_focus_ = focus;
  return {};
}

Win32MainWindow::Answer Win32MainWindow::on_focus(const Message&) {
  const bool usable =
      IsChild(handle(), last_focus_) && IsWindowVisible(last_focus_) && IsWindowEnabled(last_focus_);
  const OwnChange change{own_changes_};
  SetFocus(usable ? last_focus_ : GetNextDlgTabItem(handle(), nullptr, FALSE));
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

void Win32MainWindow::set_title(std::wstring_view title) {
  SetWindowTextW(handle(), std::wstring(title).c_str());
}

void Win32MainWindow::set_client_size(Size client) {
  if (handle() == nullptr) return;
  const Size before = client_size(handle());
  if (!IsZoomed(handle()) && !IsIconic(handle())) resize_client(handle(), client);
  if (live_ && client_size(handle()) == before) events_.resized(before);
}

void Win32MainWindow::show() {
  if (handle() == nullptr || IsWindowVisible(handle())) return;
  ShowWindow(handle(), show_command_);
  UpdateWindow(handle());
}

// The system moves a place that no screen shows. It does not know how high a window of that width must be:
// with other fonts than last time that may be more.
void Win32MainWindow::set_place(const WindowPlace& place) {
  const Size least = minimum_window_size(place.normal.width);
  Rect rect = place.normal;
  rect.width = std::max(rect.width, least.width);
  rect.height = std::max(rect.height, least.height);
  WINDOWPLACEMENT placement{};
  placement.length = sizeof placement;
  placement.showCmd = SW_HIDE;  // until show()
  placement.rcNormalPosition = {rect.x, rect.y, rect.right(), rect.bottom()};
  SetWindowPlacement(handle(), &placement);
  if (place.maximized) show_command_ = SW_SHOWMAXIMIZED;
}

WindowPlace Win32MainWindow::current_place() const {
  WINDOWPLACEMENT placement{};
  placement.length = sizeof placement;
  GetWindowPlacement(handle(), &placement);
  const RECT& rect = placement.rcNormalPosition;
  return {{rect.left, rect.top, rect.right - rect.left, rect.bottom - rect.top}, IsZoomed(handle()) != FALSE};
}

void Win32MainWindow::apply(std::span<const ControlChange> changes) {
  const OwnChange own{own_changes_};
  for (const ControlChange& change : changes)
    apply_one(change);
}

void Win32MainWindow::apply_one(const ControlChange& change) {
  const HWND target = controls_[change.id];
  if (target == nullptr) return;
  const ControlKind kind = control(change.id).kind;
  const ControlState& state = change.state;
  if (kind != ControlKind::counter) controls_.set_caption(change.id, state.caption);  // it has set_counter()
  tips_.set(target, state.tip);
  if (has_mark(kind)) SendMessageW(target, BM_SETCHECK, state.checked ? BST_CHECKED : BST_UNCHECKED, 0);
  if (!state.enabled || !state.visible) leave_if_focused(target);
  EnableWindow(target, state.enabled);
  ShowWindow(target, state.visible ? SW_SHOWNA : SW_HIDE);
}

// The keyboard must not stay in a control that can no longer be used.
void Win32MainWindow::leave_if_focused(HWND target) {
  if (GetFocus() == target) SetFocus(GetNextDlgTabItem(handle(), target, FALSE));
}

void Win32MainWindow::place(const Placement& placement) {
  const OwnChange own{own_changes_};
  controls_.place(placement);
  const Sections sections = sections_of(placement);
  if (sections == sections_ || handle() == nullptr) return;
  sections_ = sections;
  InvalidateRect(handle(), nullptr, TRUE);
}

Metrics Win32MainWindow::measure() const {
  return controls_.measure(fonts_);
}

std::wstring Win32MainWindow::field_text(ControlId id) const {
  return window_text(controls_[id]);
}

void Win32MainWindow::set_field_text(ControlId id, std::wstring_view text, std::size_t caret) {
  const OwnChange own{own_changes_};
  const HWND field = controls_[id];
  SetWindowTextW(field, std::wstring(text).c_str());
  SendMessageW(field, EM_SETSEL, caret, static_cast<LPARAM>(caret));
  SendMessageW(field, EM_SCROLLCARET, 0, 0);
}

std::size_t Win32MainWindow::field_caret(ControlId id) const {
  DWORD begin = 0;
  DWORD end = 0;
  SendMessageW(controls_[id], EM_GETSEL, reinterpret_cast<WPARAM>(&begin), reinterpret_cast<LPARAM>(&end));
  return end;
}

void Win32MainWindow::set_choices(ControlId id, std::span<const std::wstring> entries,
                                  std::optional<std::size_t> selected, std::wstring_view placeholder) {
  const OwnChange own{own_changes_};
  controls_.set_choices(id, entries, selected, placeholder);
}

std::optional<std::size_t> Win32MainWindow::selected_choice(ControlId id) const {
  return selected_entry(controls_[id]);
}

void Win32MainWindow::set_status(std::wstring_view text, StatusTone tone) {
  status_tone_ = tone;
  const HWND status = controls_[ControlId::status];
  SetWindowTextW(status, std::wstring(text).c_str());
  if (status != nullptr) InvalidateRect(status, nullptr, TRUE);
}

void Win32MainWindow::set_counter(ControlId id, std::wstring_view text) {
  controls_.set_caption(id, text);
}

void Win32MainWindow::show_notice(std::wstring_view title, std::wstring_view text) {
  if (handle() == nullptr) return;
  MessageBoxW(handle(), std::wstring(text).c_str(), std::wstring(title).c_str(), MB_OK | MB_ICONINFORMATION);
}

std::optional<std::filesystem::path> Win32MainWindow::ask_file(const FileQuestion& question) {
  return show_send_data_file_dialog(handle(), question);
}

bool Win32MainWindow::open_in_desktop(const std::filesystem::path& target) {
  constexpr INT_PTR kLastError = 32;  // greater values mean success
  const HINSTANCE opened = ShellExecuteW(handle(), L"open", target.c_str(), nullptr, nullptr, SW_SHOWNORMAL);
  return reinterpret_cast<INT_PTR>(opened) > kLastError;
}

bool Win32MainWindow::post(unsigned message) {
  const HWND window = window_.load();
  return window != nullptr && PostMessageW(window, message, 0, 0) != FALSE;
}

void Win32MainWindow::start_timer(std::uintptr_t id, unsigned milliseconds) {
  if (handle() != nullptr) SetTimer(handle(), id, milliseconds, nullptr);
}

bool Win32MainWindow::input_waiting() const {
  return HIWORD(GetQueueStatus(QS_INPUT | QS_TIMER)) != 0;
}

}  // namespace hvt
