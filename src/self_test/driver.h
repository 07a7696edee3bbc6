#pragma once

#include <cstddef>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "ui/main_window.h"

namespace hvt::self_test {

// What a person sees of a control.
struct Sight {
  bool visible = false;
  bool enabled = false;
  bool checked = false;
  std::wstring text;  // caption, text of a field, entry of a choice
};

enum class Key { enter, escape, tab, backspace, home, end, up, down, page_up, page_down };

// A box in front of the window.
struct Box {
  enum class Kind { notice, file };
  Kind kind = Kind::notice;
  std::wstring title;
  std::wstring text;  // of a notice; the file name of a file dialog
};

// The person's hands could not reach something, or the program does not react any more.
class Unreachable : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Hands and eyes of a person in front of the real window of the face that is linked.
//
// Promises  input is queued where the system queues it and served by the program's own loop, nested ones
//           included; what is read is what the controls hold then. Nothing here changes the program in
//           another way than a person could, but press_stale().
// Threads   watch(), forget() and the constructor on the interface thread, the rest on that of the script.
//           Input returns at once; reading waits for the interface thread, at most kPatience. Unreachable is
//           thrown when it does not answer, or when there is nothing to be clicked at.
// Owns      nothing of the window.
// Ends      after the last window. Without a window every call throws Unreachable.
class Driver {
 public:
  virtual ~Driver() = default;

  // The window that is used from now on; forget() comes before it goes.
  virtual void watch(MainWindow& window) = 0;
  virtual void forget() = 0;

  // Hands
  virtual void click(ControlId id) = 0;
  virtual void double_click(ControlId id) = 0;
  virtual void press(Key key) = 0;                // whatever has the keyboard gets it
  virtual void type(std::wstring_view text) = 0;  // the same
  virtual void resize(Size client) = 0;           // as if by dragging the frame
  virtual void set_scale(int percent) = 0;        // of the screen, as the desktop would tell the window
  virtual void close() = 0;                       // the button in the window's corner
  virtual void answer_box(bool accept) = 0;       // its first or its second button
  virtual void type_file_name(std::wstring_view name) = 0;  // into the file dialog in front
  // What a click that was on its way when the control went, or another program, could still bring.
  virtual void press_stale(ControlId id) = 0;

  // Eyes
  virtual Sight look(ControlId id) = 0;
  virtual Rect place(ControlId id) = 0;  // in the client area
  virtual Size client_size() = 0;
  virtual std::wstring title() = 0;
  virtual bool has_keyboard(ControlId id) = 0;
  virtual bool list_is_open(ControlId id) = 0;
  virtual bool menu_is_open() = 0;
  virtual std::wstring received() = 0;  // all of the receive view; lines end with "\n"
  virtual std::size_t first_visible_line() = 0;
  virtual std::optional<Box> box() = 0;
  // The window, with the boxes in front of it, as a PNG file.
  virtual void take_picture(const std::filesystem::path& file) = 0;
};

// Defined by the face that is linked.
std::unique_ptr<Driver> create_driver();

}  // namespace hvt::self_test
