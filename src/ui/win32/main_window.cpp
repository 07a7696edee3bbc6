#include "ui/win32/main_window.h"

#include <richedit.h>
#include <shellapi.h>

#include <algorithm>
#include <stdexcept>
#include <string>
#include <utility>

#include "ui/win32/choice.h"
#include "ui/win32/desktop.h"
#include "ui/win32/edit_menu.h"
#include "ui/win32/file_dialog.h"
#include "ui/win32/own_change.h"
#include "ui/win32/painted.h"
#include "ui/win32/painting.h"
#include "ui/win32/sizing.h"

namespace hvt {
namespace {

constexpr DWORD kWindowStyle = WS_OVERLAPPEDWINDOW | WS_CLIPCHILDREN;

static_assert(kTaskMessage == WM_APP + 1 && kDisplayMessage == WM_APP + 2 && kTimerMessage == WM_TIMER);

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

}  // namespace

std::unique_ptr<MainWindow> create_main_window(WindowEvents& events, const StartupMark& mark) {
  return std::make_unique<Win32MainWindow>(events, mark);
}

Win32MainWindow::Win32MainWindow(WindowEvents& events, const StartupMark& mark)
    : events_(events), look_(build_theme_palette(false, desktop_colors())) {
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
  controls_.create(handle(), look_);
  receive_view_.attach(controls_[ControlId::receive_view]);
  tips_.create(handle(), controls_[ControlId::status]);
  popup_.on_change([this](bool open) { tips_.set_shown(!open); });
  menus_.attach(controls_, [this](MenuItem item) { post_choice(kMenuMessage, index_of(item)); });
  receive_view_.on_menu([this](POINT where, const EditMenu& menu, std::function<void(EditCommand)> chosen) {
    open_edit_menu(popup_, controls_[ControlId::receive_view], where, receive_view_.language(), menu,
                   fonts_.interface_font(), std::move(chosen));
  });
  mark("controls created");
  style_native_parts();
  SendMessageW(handle(), WM_CHANGEUISTATE, MAKEWPARAM(UIS_INITIALIZE, 0), 0);
  fit_to_dpi(static_cast<int>(GetDpiForWindow(handle())));
  mark("fonts applied");
}

void Win32MainWindow::fit_to_dpi(int dpi) {
  Fonts fonts{dpi};
  controls_.set_fonts(fonts);
  fonts_ = std::move(fonts);
  receive_view_.set_dpi(dpi);
  WindowIcons icons{dpi};
  icons.show_on(handle());
  icons_ = std::move(icons);
}

void Win32MainWindow::set_title(std::wstring_view title) {
  SetWindowTextW(handle(), std::wstring(title).c_str());
}

void Win32MainWindow::set_client_size(Size client) {
  if (handle() == nullptr) return;
  const Size before = hvt::client_size(handle());
  if (!IsZoomed(handle()) && !IsIconic(handle())) resize_client(handle(), client);
  if (live_ && hvt::client_size(handle()) == before) events_.resized(before);
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
  set_description(change.id, state);
  if (has_mark(kind)) SendMessageW(target, BM_SETCHECK, state.checked ? BST_CHECKED : BST_UNCHECKED, 0);
  if (!state.enabled || !state.visible) leave_if_focused(target);
  EnableWindow(target, state.enabled);
  ShowWindow(target, state.visible ? SW_SHOWNA : SW_HIDE);
}

// What is told about a control without being part of it.
void Win32MainWindow::set_description(ControlId id, const ControlState& state) {
  Description& known = descriptions_[index_of(id)];
  if (known.name == state.name && known.tip == state.tip) return;
  known = {std::wstring{state.name}, std::wstring{state.tip}};
  tips_.set(controls_[id], known.tip);
  names_.set(controls_[id], known.name, known.tip);
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
  const HWND status = controls_[ControlId::status];
  set_text_color(status, text_color_of(control(ControlId::status), tone));
  if (window_text(status) != text) SetWindowTextW(status, std::wstring(text).c_str());
}

void Win32MainWindow::set_menus(const MenuStates& states) {
  menus_.set_states(states);
}

void Win32MainWindow::set_counter(ControlId id, std::wstring_view text) {
  controls_.set_caption(id, text);
}

void Win32MainWindow::show_notice(std::wstring_view title, std::wstring_view text) {
  if (handle() == nullptr) return;
  popup_.close();
  const Language language = receive_view_.language();
  const DialogContent content{std::wstring{title},
                              {{DialogLine::Kind::text, std::wstring{text}}},
                              {},
                              std::wstring{hvt::text(TextId::close, language)}};
  // One inside the other: the events that come meanwhile may bring the next.
  auto outer = std::exchange(notice_, std::make_unique<TextDialog>(look_, names_, [] {}));
  run_modal(*notice_, content);
  notice_ = std::move(outer);
}

// Events go on coming. The window is usable again before the dialog goes: else another program's came up.
void Win32MainWindow::run_modal(TextDialog& dialog, const DialogContent& content) {
  const bool was_enabled = IsWindowEnabled(handle()) != FALSE;
  EnableWindow(handle(), FALSE);
  dialog.before_closing([this, was_enabled] { EnableWindow(handle(), was_enabled); });
  dialog.show(handle(), content);
  MSG message{};
  while (dialog.window() != nullptr) {
    if (GetMessageW(&message, nullptr, 0, 0) <= 0) {
      PostQuitMessage(static_cast<int>(message.wParam));
      break;
    }
    if (takes(message)) continue;
    TranslateMessage(&message);
    DispatchMessageW(&message);
  }
  dialog.close();
}

void Win32MainWindow::show_dialog(DialogId id, const DialogContent& content) {
  if (handle() == nullptr) return;
  auto& dialog = dialogs_[static_cast<std::size_t>(id)];
  if (!dialog) {
    dialog = std::make_unique<TextDialog>(
        look_, names_, [this, id] { post_choice(kDialogMessage, static_cast<std::size_t>(id)); });
  }
  dialog->show(handle(), content);
}

void Win32MainWindow::change_dialog(DialogId id, const DialogContent& content) {
  if (dialog_open(id)) dialogs_[static_cast<std::size_t>(id)]->set_content(content);
}

bool Win32MainWindow::dialog_open(DialogId id) const {
  const auto& dialog = dialogs_[static_cast<std::size_t>(id)];
  return dialog && dialog->window() != nullptr;
}

bool Win32MainWindow::desktop_prefers_dark() const {
  return desktop_prefers_dark_apps();
}

SystemColors Win32MainWindow::system_colors() const {
  return desktop_colors();
}

// What may fail comes first: then everything keeps the colours it had.
void Win32MainWindow::set_theme(const ThemePalette& palette) {
  if (palette == look_.palette()) return;
  Look fresh{palette};
  receive_view_.set_appearance(palette.dark ? Appearance::dark : Appearance::light);
  look_ = std::move(fresh);
  if (handle() == nullptr) return;
  popup_.close();
  title_bar_.apply(handle(), look_.dark());
  style_native_parts();
  for (const auto& dialog : dialogs_) {
    if (dialog) dialog->repaint();
  }
  if (notice_) notice_->repaint();
  RedrawWindow(handle(), nullptr, nullptr, RDW_INVALIDATE | RDW_ERASE | RDW_FRAME | RDW_ALLCHILDREN);
}

void Win32MainWindow::style_native_parts() {
  set_system_style(controls_[ControlId::receive_view], look_.dark());
  for (const ControlRow& row : kControls) {
    if (row.kind == ControlKind::choice) set_system_style(list_of(controls_[row.id]), look_.dark());
  }
  tips_.set_look(look_);
}

void Win32MainWindow::set_always_on_top(bool on_top) {
  if (handle() == nullptr) return;
  SetWindowPos(handle(), on_top ? HWND_TOPMOST : HWND_NOTOPMOST, 0, 0, 0, 0,
               SWP_NOMOVE | SWP_NOSIZE | SWP_NOACTIVATE);
}

Size Win32MainWindow::client_size() const {
  return IsIconic(handle()) ? Size{} : hvt::client_size(handle());
}

Size Win32MainWindow::largest_client_size() const {
  const Size work = work_area_size(handle());
  const Size frame = frame_size(handle());
  return {work.width - frame.width, work.height - frame.height};
}

// A choice made in a menu or a dialog becomes an event from the window's own message, where a failure is
// caught.
void Win32MainWindow::post_choice(UINT message, std::size_t choice) {
  PostMessageW(handle(), message, choice, 0);
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

void Win32MainWindow::start_timer(std::uintptr_t id, std::chrono::milliseconds interval) {
  if (handle() != nullptr) SetTimer(handle(), id, static_cast<UINT>(interval.count()), nullptr);
}

bool Win32MainWindow::input_waiting() const {
  return HIWORD(GetQueueStatus(QS_INPUT | QS_TIMER)) != 0;
}

}  // namespace hvt
