#pragma once

#include <windows.h>

#include <exception>
#include <memory>
#include <type_traits>

#include "ui/main_window.h"
#include "ui/win32/com.h"

namespace hvt {

struct FreeModule {
  using pointer = HMODULE;
  void operator()(HMODULE module) const { FreeLibrary(module); }
};
using UniqueModule = std::unique_ptr<std::remove_pointer_t<HMODULE>, FreeModule>;

// What the process needs before its first window: DPI awareness, common controls, COM, the rich edit library.
//
// Promises  everything is ready, or the constructor throws std::runtime_error
//           "Windows Rich Edit component is unavailable.".
// Threads   the interface thread.
// Owns      the rich edit library; windows that use it must go first.
class InterfaceLibraries {
 public:
  InterfaceLibraries();

 private:
  ComApartment apartment_;
  UniqueModule rich_edit_;
};

// Serves messages until the window closes and returns the exit code. Throws what an event of the window
// threw.
int run_message_loop(MainWindow& window);

// The message box that tells why the program ends.
void show_fatal_error(const std::exception& error);

}  // namespace hvt
