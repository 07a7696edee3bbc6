#include <windows.h>

#include <cstdlib>
#include <optional>
#include <string>
#include <vector>

#include "app/run_application.h"
#include "self_test/self_test.h"
#include "ui/main_window.h"
#include "ui/win32/application.h"
#include "ui/win32/private_desktop.h"
#include "update/fetch.h"

namespace {

class Win32Face final : public hvt::Face {
 public:
  void prepare(hvt::RunMode mode) override {
    if (mode == hvt::RunMode::self_test) desktop_.emplace().enter();
    libraries_.emplace();
  }
  std::unique_ptr<hvt::MainWindow> create_window(hvt::WindowEvents& events,
                                                 const hvt::StartupMark& mark) override {
    return hvt::create_main_window(events, mark);
  }
  int serve(hvt::MainWindow& window) override { return hvt::run_message_loop(window); }
  void show_fatal_error(const std::exception& error) override { hvt::show_fatal_error(error); }

 private:
  std::optional<hvt::PrivateDesktop> desktop_;
  std::optional<hvt::InterfaceLibraries> libraries_;
};

}  // namespace

int WINAPI wWinMain(HINSTANCE, HINSTANCE, PWSTR, int) {
  const std::vector<std::wstring> arguments(__wargv + 1, __wargv + __argc);
  Win32Face face;
  return hvt::run_program(arguments, face, hvt::run_self_test, hvt::fetch_published_manifest);
}
