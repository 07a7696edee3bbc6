#include "serial/win32/open_port.h"

#include <windows.h>

#include "base/win32/error_text.h"
#include "base/win32/unique_handle.h"
#include "serial/settings_difference.h"
#include "serial/transport_limits.h"
#include "serial/win32/line_control.h"
#include "serial/win32/port_sources.h"
#include "serial/win32/read_timeouts.h"
#include "serial/win32/stream_transport.h"

namespace hvt {
namespace {

COMMTIMEOUTS timeouts() {
  const ReadTimeouts& reading = read_timeouts();
  COMMTIMEOUTS all{};
  all.ReadIntervalTimeout = reading.interval;
  all.ReadTotalTimeoutMultiplier = reading.multiplier;
  all.ReadTotalTimeoutConstant = reading.constant;
  all.WriteTotalTimeoutMultiplier = 0;
  all.WriteTotalTimeoutConstant = DWORD{kWriteLimit.count()};
  return all;
}

// False with the reason in GetLastError(), right after the call that failed.
bool configure(HANDLE port, const SerialSettings& settings) {
  DCB control{};
  control.DCBlength = sizeof(control);
  if (!GetCommState(port, &control)) return false;
  control = with_settings(control, settings);
  COMMTIMEOUTS limits = timeouts();
  return SetCommState(port, &control) && SetCommTimeouts(port, &limits) &&
         SetupComm(port, DWORD{kDriverQueueBytes}, DWORD{kDriverQueueBytes}) &&
         PurgeComm(port, PURGE_TXCLEAR | PURGE_RXCLEAR);
}

// Some drivers replace settings they cannot do and report success.
std::wstring replaced_settings(HANDLE port, const SerialSettings& asked) {
  DCB control{};
  control.DCBlength = sizeof(control);
  if (!GetCommState(port, &control)) return {};
  return settings_difference(asked, settings_in(control, asked));
}

}  // namespace

std::wstring device_path(std::wstring_view port) {
  std::wstring path(port.starts_with(kDevicePrefix) ? L"" : kDevicePrefix);
  return path.append(port);
}

std::shared_ptr<SerialTransport> open_win32_port(const SerialSettings& settings, std::wstring& error) {
  error.clear();
  UniqueHandle port(CreateFileW(device_path(settings.port).c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr,
                                OPEN_EXISTING, FILE_FLAG_OVERLAPPED | FILE_ATTRIBUTE_NORMAL, nullptr));
  if (!port || !configure(port.get(), settings)) {
    error = windows_error_text(GetLastError());
    return {};
  }
  error = replaced_settings(port.get(), settings);
  return make_stream_transport(std::move(port), StreamKind::kSerialDevice);
}

std::shared_ptr<SerialTransport> open_system_port(const SerialSettings& settings, std::wstring& error) {
  return open_win32_port(settings, error);
}

}  // namespace hvt
