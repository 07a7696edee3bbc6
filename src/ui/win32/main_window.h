#pragma once

#include <windows.h>

#include <array>
#include <atomic>
#include <exception>
#include <memory>
#include <optional>
#include <string>

#include "ui/main_window.h"
#include "ui/win32/accessible_names.h"
#include "ui/win32/fonts.h"
#include "ui/win32/icons.h"
#include "ui/win32/look.h"
#include "ui/win32/menu_bar.h"
#include "ui/win32/native_controls.h"
#include "ui/win32/painting.h"
#include "ui/win32/popup_menu.h"
#include "ui/win32/receive_view.h"
#include "ui/win32/text_dialog.h"
#include "ui/win32/title_bar.h"
#include "ui/win32/tool_tips.h"

namespace hvt {

inline constexpr const wchar_t* kMainWindowClass = L"HalvetricSerialTest.Main";

// Messages of the window to itself; the first parameter is the item of a menu, the dialog.
inline constexpr UINT kMenuMessage = WM_APP + 16;
inline constexpr UINT kDialogMessage = WM_APP + 17;

// The main window on Windows: one top-level window whose children are the controls of kControls.
//
// Promises  as MainWindow; an exception from an event ends the message loop, which throws it again (see
//           application.h), and no event comes after it.
// Threads   the interface thread, except post().
// Owns      the native window, its menus and dialogs, fonts, icons and brushes.
// Ends      with the object, or earlier when the person or the system closes the native window.
class Win32MainWindow final : public MainWindow {
 public:
  explicit Win32MainWindow(WindowEvents& events, const StartupMark& mark = ignore_mark);
  ~Win32MainWindow() override;
  Win32MainWindow(const Win32MainWindow&) = delete;
  Win32MainWindow& operator=(const Win32MainWindow&) = delete;

  HWND handle() const { return window_.load(); }
  // Throws what an event threw, once.
  void rethrow_failure();
  // A message that the loop took from the queue: keys of menus and dialogs, access keys, the Tab key. True
  // when it goes no further.
  bool takes(MSG& message);

  void set_title(std::wstring_view title) override;
  void set_client_size(Size client) override;
  void show() override;
  void set_place(const WindowPlace& place) override;
  WindowPlace current_place() const override;
  void apply(std::span<const ControlChange> changes) override;
  void place(const Placement& placement) override;
  Metrics measure() const override;
  std::wstring field_text(ControlId id) const override;
  void set_field_text(ControlId id, std::wstring_view text, std::size_t caret) override;
  std::size_t field_caret(ControlId id) const override;
  void set_choices(ControlId id, std::span<const std::wstring> entries, std::optional<std::size_t> selected,
                   std::wstring_view placeholder) override;
  std::optional<std::size_t> selected_choice(ControlId id) const override;
  void set_status(std::wstring_view text, StatusTone tone) override;
  void set_counter(ControlId id, std::wstring_view text) override;
  void set_menus(const MenuStates& states) override;
  void show_notice(std::wstring_view title, std::wstring_view text) override;
  void show_dialog(DialogId id, const DialogContent& content) override;
  void change_dialog(DialogId id, const DialogContent& content) override;
  bool dialog_open(DialogId id) const;
  bool desktop_prefers_dark() const override;
  SystemColors system_colors() const override;
  void set_theme(const ThemePalette& palette) override;
  void set_always_on_top(bool on_top) override;
  Size client_size() const override;
  Size largest_client_size() const override;
  ReceiveView& receive_view() override { return receive_view_; }
  std::optional<std::filesystem::path> ask_file(const FileQuestion& question) override;
  bool open_in_desktop(const std::filesystem::path& target) override;
  bool post(unsigned message) override;
  void start_timer(std::uintptr_t id, std::chrono::milliseconds interval) override;
  bool input_waiting() const override;

 private:
  struct Message {
    UINT id;
    WPARAM first;
    LPARAM second;
  };
  // What a control's tip and name are now.
  struct Description {
    std::wstring name;
    std::wstring tip;
  };
  static constexpr std::size_t kDialogCount = static_cast<std::size_t>(DialogId::update) + 1;
  // Empty: the system's own handling follows.
  using Answer = std::optional<LRESULT>;
  struct Route {
    UINT message;
    Answer (Win32MainWindow::*handler)(const Message&);
  };
  static const Route kRoutes[];

  static LRESULT CALLBACK procedure(HWND window, UINT id, WPARAM first, LPARAM second);
  LRESULT dispatch(HWND window, const Message& message);
  Answer route(const Message& message);

  Answer on_command(const Message& message);
  Answer on_default_button(const Message& message);
  Answer on_notify(const Message& message);
  Answer on_control_colors(const Message& message);
  Answer on_draw_item(const Message& message);
  Answer on_erase(const Message& message);
  Answer on_size(const Message& message);
  Answer on_sizing(const Message& message);
  Answer on_limits(const Message& message);
  Answer on_dpi_changed(const Message& message);
  Answer on_context_menu(const Message& message);
  Answer on_system_command(const Message& message);
  Answer on_setting_change(const Message& message);
  Answer on_colors_change(const Message& message);
  Answer on_move(const Message& message);
  Answer on_menu_chosen(const Message& message);
  Answer on_dialog_link(const Message& message);
  Answer on_activate(const Message& message);
  Answer on_focus(const Message& message);
  Answer on_forwarded(const Message& message);
  Answer on_close(const Message& message);
  Answer on_end_session(const Message& message);
  Answer on_destroy(const Message& message);
  Answer on_gone(const Message& message);

  void create_native(const StartupMark& mark);
  void fit_to_dpi(int dpi);
  void apply_one(const ControlChange& change);
  void set_description(ControlId id, const ControlState& state);
  void leave_if_focused(HWND control);
  HWND first_focus() const;
  void press_focused_button();
  bool take_access_key(const MSG& message);
  bool is_dialog(HWND window) const;
  void style_native_parts();
  void run_modal(TextDialog& dialog, const DialogContent& content);
  void post_choice(UINT message, std::size_t choice);
  void tell_closing();
  Size minimum_window_size(int proposed_width);

  WindowEvents& events_;
  std::atomic<HWND> window_{nullptr};
  Look look_;
  Fonts fonts_;
  WindowIcons icons_;
  TitleBar title_bar_;
  AccessibleNames names_;
  NativeControls controls_;
  RichEditView receive_view_;
  ToolTips tips_;
  PopupMenu popup_{look_};
  MenuBar menus_{popup_};
  std::array<std::unique_ptr<TextDialog>, kDialogCount> dialogs_;
  std::unique_ptr<TextDialog> notice_;
  std::array<Description, kControlCount> descriptions_;
  Sections sections_;
  HWND last_focus_ = nullptr;  // the control to return to when the window becomes active again
  int own_changes_ = 0;        // above 0 while the program itself changes controls: no events then
  int show_command_ = SW_SHOWDEFAULT;
  bool live_ = false;  // created completely and not failed: events may be raised
  bool closing_told_ = false;
  std::exception_ptr failure_;  // what ended the message loop
};

}  // namespace hvt
