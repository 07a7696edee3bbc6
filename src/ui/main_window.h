#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "base/startup_mark.h"
#include "ui/controls.h"
#include "ui/dialogs.h"
#include "ui/geometry.h"
#include "ui/layout.h"
#include "ui/menus.h"
#include "ui/receive_view.h"
#include "ui/state_rules.h"
#include "ui/theme.h"

namespace hvt {

// Private messages and the timer message, with the values they have on Windows.
inline constexpr unsigned kTaskMessage = 0x8001;     // WM_APP + 1: tasks wait for the interface thread
inline constexpr unsigned kDisplayMessage = 0x8002;  // WM_APP + 2: display material waits
inline constexpr unsigned kTimerMessage = 0x0113;    // WM_TIMER: the first parameter is the timer's id

// What a person (or the system) does to the window. Called on the interface thread, never for a change the
// program itself made.
class WindowEvents {
 public:
  virtual ~WindowEvents() = default;

  virtual void command(ControlId id) = 0;  // button pressed, check or radio clicked, Enter in a packet field
  virtual void chosen(ControlId id) = 0;   // another entry of a choice was selected
  virtual void edited(ControlId id) = 0;   // text of a field changed
  virtual void menu_chosen(MenuItem item) = 0;
  virtual void dialog_link(DialogId id) = 0;  // the link of a dialog was pressed
  virtual void resized(Size client) = 0;
  virtual void metrics_changed() = 0;     // DPI or fonts are different now: measure() again
  virtual void appearance_changed() = 0;  // what desktop_prefers_dark() or system_colors() give is different
  virtual void closing() = 0;             // the window is about to close and cannot be kept open; comes once
  virtual Size minimum_client_size(int proposed_width) = 0;
  virtual void message(unsigned message, std::uintptr_t first, std::intptr_t second) = 0;
};

// One control whose state is different now.
struct ControlChange {
  ControlId id;
  ControlState state;
};

enum class StatusTone { plain, error };

// Which file a person is to choose in the system's own dialog.
struct FileQuestion {
  struct Type {
    std::wstring name;     // with its pattern: "Text (*.txt)"
    std::wstring pattern;  // "*.txt"
  };
  bool save = false;  // a file to write, with a warning before an existing one is replaced
  std::wstring title;
  std::filesystem::path folder;  // where the dialog begins; exists
  std::vector<Type> types;       // the first one is selected
  // Of save:
  std::wstring proposed_name;
  std::wstring extension;  // added to a name without one; without the full stop
};

// Where the window stands. The rectangle is that of the restored window in screen pixels, also while it is
// maximized.
struct WindowPlace {
  Rect normal;
  bool maximized = false;
};

// The one window of the program, as the controller sees it.
//
// Promises  shows what it is told and nothing else; raises no event for a change made through this interface.
// Threads   the interface thread, except post().
// Owns      the native window, its controls and the receive view.
// Ends      with the object. After the native window is gone every call is harmless and post() declines.
class MainWindow {
 public:
  virtual ~MainWindow() = default;

  virtual void set_title(std::wstring_view title) = 0;
  // Gives the client area this size (in the pixels of resized()) and shows the window; both may be called
  // again. The size is limited to the screen's work area; resized() reports what came out.
  virtual void set_client_size(Size client) = 0;
  virtual void show() = 0;
  // The place for show() to give the window, moved to where a screen is.
  virtual void set_place(const WindowPlace& place) = 0;
  virtual WindowPlace current_place() const = 0;
  virtual void apply(std::span<const ControlChange> changes) = 0;
  // Moves every control; those with an empty rectangle are left alone (they are hidden by apply()).
  virtual void place(const Placement& placement) = 0;
  // Measures captions as apply() set them; choices count their widest entry.
  virtual Metrics measure() const = 0;

  // Text of a packet field.
  virtual std::wstring field_text(ControlId id) const = 0;
  virtual void set_field_text(ControlId id, std::wstring_view text, std::size_t caret) = 0;
  virtual std::size_t field_caret(ControlId id) const = 0;

  // Captions and marks of every menu entry.
  virtual void set_menus(const MenuStates& states) = 0;

  // Entries of a choice. `selected` is empty for none: the choice then shows `placeholder`.
  virtual void set_choices(ControlId id, std::span<const std::wstring> entries,
                           std::optional<std::size_t> selected, std::wstring_view placeholder) = 0;
  virtual std::optional<std::size_t> selected_choice(ControlId id) const = 0;

  virtual void set_status(std::wstring_view text, StatusTone tone) = 0;
  // Text of a counter.
  virtual void set_counter(ControlId id, std::wstring_view text) = 0;
  // Tells something in a box of its own, to be clicked away. May return at once or only then; from closing()
  // it returns only then. Events go on coming meanwhile.
  virtual void show_notice(std::wstring_view title, std::wstring_view text) = 0;
  // Opens a dialog, or gives an open one another content and brings it to the front.
  virtual void show_dialog(DialogId id, const DialogContent& content) = 0;
  // Another content for a dialog if it is open, which does not take the keyboard for that.
  virtual void change_dialog(DialogId id, const DialogContent& content) = 0;
  virtual ReceiveView& receive_view() = 0;

  // The desktop's wish and colours, read anew at each call.
  virtual bool desktop_prefers_dark() const = 0;
  virtual SystemColors system_colors() const = 0;
  // The whole window in these colours, with the receive view, the title bar, menus, lists and dialogs, also
  // those opened later. Throws std::runtime_error, and then everything keeps the colours it had.
  virtual void set_theme(const ThemePalette& palette) = 0;
  virtual void set_always_on_top(bool on_top) = 0;

  // The client area now, also of a window that is not shown yet; empty while it is minimized.
  virtual Size client_size() const = 0;
  // The largest client area that the work area of the window's screen has room for.
  virtual Size largest_client_size() const = 0;

  // Nothing when the dialog was cancelled. Events come meanwhile. Throws std::runtime_error "Could not open
  // the file dialog.".
  virtual std::optional<std::filesystem::path> ask_file(const FileQuestion& question) = 0;
  // Opens a folder, a file or a web address in the desktop's own program for it. False when there is none.
  virtual bool open_in_desktop(const std::filesystem::path& target) = 0;

  // Any thread: have WindowEvents::message(message, 0, 0) called on the interface thread. False when refused
  // (the window is gone, the system's queue is full): the caller must be able to try again.
  virtual bool post(unsigned message) = 0;
  // Timer `id` calls WindowEvents::message(kTimerMessage, id, 0) every `interval` from now on, instead of any
  // interval before.
  virtual void start_timer(std::uintptr_t id, std::chrono::milliseconds interval) = 0;
  // Keyboard, mouse or timer events wait. A face whose loop serves them between posted messages anyway may
  // always answer false.
  virtual bool input_waiting() const = 0;
};

// Defined by the face that is linked. The window is created hidden, with every control of kControls. Marks
// "control creation begin", "controls created" and "fonts applied".
std::unique_ptr<MainWindow> create_main_window(WindowEvents& events, const StartupMark& mark = ignore_mark);

}  // namespace hvt
