#pragma once

#include <windows.h>

#include <memory>
#include <type_traits>

namespace hvt {

// A desktop beside the one that the person sees: windows on it take neither the screen nor the keyboard.
//
// Promises  the calling thread is on it after enter(). A thread must have no window by then, nor have loaded
//           what makes hidden ones.
// Threads   any.
// Owns      the desktop, which goes with the last of its windows and threads.
class PrivateDesktop {
 public:
  // Throws std::runtime_error when the system has none to give.
  PrivateDesktop();
  void enter() const;

 private:
  struct CloseIt {
    using pointer = HDESK;
    void operator()(HDESK desktop) const { CloseDesktop(desktop); }
  };
  std::unique_ptr<std::remove_pointer_t<HDESK>, CloseIt> desktop_;
};

}  // namespace hvt
