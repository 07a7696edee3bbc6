#include <windows.h>

#include <exception>
#include <memory>

#include "app/app.h"
#include "app/folders.h"
#include "ui/main_window.h"
#include "ui/win32/application.h"

namespace {

// The window goes before the app, also after a failure, and the app must not use it any more then.
struct DetachAtEnd {
  ~DetachAtEnd() { app.detach(); }
  hvt::App& app;
};

int run_application() {
  const hvt::InterfaceLibraries libraries;
  hvt::App app(hvt::data_folder());
  const std::unique_ptr<hvt::MainWindow> window = hvt::create_main_window(app);
  const DetachAtEnd detach_at_end{app};
  app.attach(*window);
  const int code = hvt::run_message_loop(*window);
  app.closing();
  return code;
}

}  // namespace

int WINAPI wWinMain(HINSTANCE, HINSTANCE, PWSTR, int) {
  try {
    return run_application();
  } catch (const std::exception& error) {
    hvt::show_fatal_error(error);
    return 1;
  }
}
