#pragma once

#include <exception>
#include <memory>

#include "app/run_mode.h"
#include "base/startup_mark.h"
#include "ui/main_window.h"

namespace hvt {

// What the program asks of the toolkit that draws it, beside the window itself.
//
// Promises  prepare() comes first and once; windows and the loop only after it.
// Threads   the interface thread.
// Owns      what windows need of the process; it outlives every window.
class Face {
 public:
  virtual ~Face() = default;

  // Everything the process needs before its first window. In the self-test it must not show on the person's
  // own desktop. Throws std::runtime_error with a text for the person.
  virtual void prepare(RunMode mode) = 0;
  // The program's window, hidden. Throws std::runtime_error.
  virtual std::unique_ptr<MainWindow> create_window(WindowEvents& events, const StartupMark& mark) = 0;
  // Serves events until the window closes, and returns the exit code. Throws what an event threw. May be
  // called again for the next window.
  virtual int serve(MainWindow& window) = 0;
  // The box that tells why the program ends; returns when it was clicked away. May be called before
  // prepare().
  virtual void show_fatal_error(const std::exception& error) = 0;
};

}  // namespace hvt
