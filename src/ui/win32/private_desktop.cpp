#include "ui/win32/private_desktop.h"

#include <stdexcept>
#include <string>

#include "base/win32/unique_handle.h"
#include "base/win32/wine.h"

namespace hvt {
namespace {

// Wine gives a new desktop no screen of its own accord; its explorer makes one for the desktop it is told.
void give_wine_desktop_a_screen(const std::wstring& name) {
  if (!runs_on_wine()) return;
  constexpr DWORD kPatience = 10'000;
  std::wstring command = L"explorer.exe /desktop=" + name + L",1600x1200";
  STARTUPINFOW startup{};
  startup.cb = sizeof startup;
  PROCESS_INFORMATION process{};
  if (!CreateProcessW(L"C:\\windows\\explorer.exe", command.data(), nullptr, nullptr, FALSE, 0, nullptr,
                      nullptr, &startup, &process))
    throw std::runtime_error("Could not make a screen for the self-test.");
  const UniqueHandle thread{process.hThread};
  const UniqueHandle explorer{process.hProcess};
  WaitForInputIdle(explorer.get(), kPatience);
}

}  // namespace

PrivateDesktop::PrivateDesktop() {
  const std::wstring name = L"HalvetricSerialTest_" + std::to_wstring(GetCurrentProcessId());
  give_wine_desktop_a_screen(name);
  desktop_.reset(CreateDesktopW(name.c_str(), nullptr, nullptr, 0, GENERIC_ALL, nullptr));
  if (!desktop_) throw std::runtime_error("Could not make a desktop for the self-test.");
}

void PrivateDesktop::enter() const {
  if (GetThreadDesktop(GetCurrentThreadId()) == desktop_.get()) return;
  if (!SetThreadDesktop(desktop_.get())) throw std::runtime_error("Could not go to the self-test's desktop.");
}

}  // namespace hvt
