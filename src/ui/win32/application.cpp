#include "ui/win32/application.h"

#include <commctrl.h>

#include <stdexcept>
#include <string>

#include "base/text.h"
#include "ui/win32/main_window.h"

namespace hvt {
namespace {

// The manifest says the same; a system that has settled the matter already refuses, which is no failure.
void become_dpi_aware() {
  if (SetProcessDpiAwarenessContext(DPI_AWARENESS_CONTEXT_PER_MONITOR_AWARE_V2)) return;
  SetProcessDpiAwarenessContext(DPI_AWARENESS_CONTEXT_PER_MONITOR_AWARE);
}

}  // namespace

InterfaceLibraries::InterfaceLibraries() {
  become_dpi_aware();
  INITCOMMONCONTROLSEX classes{};
  classes.dwSize = sizeof classes;
  classes.dwICC = ICC_STANDARD_CLASSES | ICC_WIN95_CLASSES;
  InitCommonControlsEx(&classes);
  rich_edit_.reset(LoadLibraryW(L"Msftedit.dll"));
  if (!rich_edit_) throw std::runtime_error("Windows Rich Edit component is unavailable.");
}

int run_message_loop(MainWindow& window) {
  auto& native = dynamic_cast<Win32MainWindow&>(window);
  MSG message{};
  while (GetMessageW(&message, nullptr, 0, 0) > 0) {
    if (native.takes(message)) continue;
    TranslateMessage(&message);
    DispatchMessageW(&message);
  }
  native.rethrow_failure();
  return static_cast<int>(message.wParam);
}

void show_fatal_error(const std::exception& error) {
  const std::wstring text = message_of(error);
  MessageBoxW(nullptr, text.c_str(), L"HalvetricSerialTest", MB_OK | MB_ICONERROR);
}

}  // namespace hvt
