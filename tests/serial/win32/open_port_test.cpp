// Opening a COM port. The risks: a control block that leaves flow control on or forgets a line, bits of the
// driver's own destroyed, a handle left open after a failure, an error text that is not the system's.

#include "serial/win32/open_port.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <cstring>

#include "base/win32/error_text.h"
#include "base/win32/unique_handle.h"
#include "serial/win32/line_control.h"
#include "serial/win32/stream_transport.h"
#include "tests/support/error_of.h"
#include "tests/support/time_limit.h"

namespace hvt::test {
namespace {

// The flag word, numbered by hand from the layout that drivers see.
constexpr std::uint32_t kBinary = 0x0001;
constexpr std::uint32_t kParityCheck = 0x0002;
constexpr std::uint32_t kDtrEnable = 0x0010;
constexpr std::uint32_t kContinueOnXoff = 0x0080;
constexpr std::uint32_t kRtsEnable = 0x1000;
constexpr std::uint32_t kReserved = 0xFFFF8000;
constexpr std::size_t kFlagsOffset = 8;

std::uint32_t flags_of(const DCB& control) {
  std::uint32_t flags = 0;
  std::memcpy(&flags, reinterpret_cast<const std::uint8_t*>(&control) + kFlagsOffset, sizeof(flags));
  return flags;
}

DCB filled_with(int byte) {
  DCB control;
  std::memset(&control, byte, sizeof(control));
  control.DCBlength = sizeof(control);
  return control;
}

TEST(LineControl, SetsEveryFlagFromTheSettingsAloneWhateverTheDriverHad) {
  for (const int driver : {0x00, 0xFF}) {
    for (const bool dtr : {false, true}) {
      for (const bool rts : {false, true}) {
        for (std::int32_t parity = kParityNone; parity <= kParitySpace; ++parity) {
          SerialSettings settings;
          settings.dtr = dtr;
          settings.rts = rts;
          settings.parity = parity;
          const DCB control = with_settings(filled_with(driver), settings);
          const std::uint32_t expected = kBinary | kContinueOnXoff |
                                         (parity != kParityNone ? kParityCheck : 0) | (dtr ? kDtrEnable : 0) |
                                         (rts ? kRtsEnable : 0) | (driver == 0xFF ? kReserved : 0);
          EXPECT_EQ(flags_of(control), expected) << driver << ' ' << dtr << rts << ' ' << parity;
          EXPECT_EQ(control.Parity, parity);
        }
      }
    }
  }
}

TEST(LineControl, PutsInTheNumbersAndKeepsWhatIsTheDrivers) {
  SerialSettings settings;
  settings.baud = 4'000'000;
  settings.data_bits = 5;
  settings.stop_bits = kStopBitsOneAndHalf;
  const DCB driver = filled_with(0x5A);
  DCB control = with_settings(driver, settings);
  EXPECT_EQ(control.BaudRate, 4'000'000U);
  EXPECT_EQ(control.ByteSize, 5);
  EXPECT_EQ(control.StopBits, ONE5STOPBITS);

  control.BaudRate = driver.BaudRate;
  control.ByteSize = driver.ByteSize;
  control.Parity = driver.Parity;
  control.StopBits = driver.StopBits;
  std::memcpy(reinterpret_cast<std::uint8_t*>(&control) + kFlagsOffset,
              reinterpret_cast<const std::uint8_t*>(&driver) + kFlagsOffset, sizeof(std::uint32_t));
  EXPECT_EQ(std::memcmp(&control, &driver, sizeof(DCB)), 0) << "limits and characters are the driver's";
}

TEST(LineControl, ReadsBackWhatItPutIn) {
  SerialSettings settings;
  settings.port = L"COM9";
  settings.baud = 1'200;
  settings.data_bits = 7;
  settings.parity = kParityMark;
  settings.stop_bits = kStopBitsTwo;
  settings.rts = false;
  const SerialSettings back = settings_in(with_settings(filled_with(0), settings), settings);
  EXPECT_EQ(back.baud, settings.baud);
  EXPECT_EQ(back.data_bits, settings.data_bits);
  EXPECT_EQ(back.parity, settings.parity);
  EXPECT_EQ(back.stop_bits, settings.stop_bits);
}

TEST(OpenPort, PrefixesABareNameOnce) {
  EXPECT_EQ(device_path(L"COM3"), L"\\\\.\\COM3");
  EXPECT_EQ(device_path(L"COM12"), L"\\\\.\\COM12");
  EXPECT_EQ(device_path(L"\\\\.\\COM3"), L"\\\\.\\COM3");
  EXPECT_EQ(device_path(L"\\\\.\\pipe\\x"), L"\\\\.\\pipe\\x");
}

TEST(OpenPort, AnAbsentPortFailsWithTheSystemsText) {
  SerialSettings settings;
  settings.port = L"COM4095";
  std::wstring error = L"stale";
  EXPECT_EQ(open_system_port(settings, error), nullptr);
  EXPECT_EQ(error, windows_error_text(ERROR_FILE_NOT_FOUND));
}

UniqueHandle new_pipe(const std::wstring& path) {
  constexpr DWORD kMode = PIPE_TYPE_BYTE | PIPE_READMODE_BYTE | PIPE_WAIT;
  return UniqueHandle(CreateNamedPipeW(path.c_str(), PIPE_ACCESS_DUPLEX, kMode, 1, 4'096, 4'096, 0, nullptr));
}

// A pipe can be opened by a full device path and refuses to be configured.
TEST(OpenPort, ADeviceThatCannotBeConfiguredIsClosedAgain) {
  SerialSettings settings;
  settings.port = L"\\\\.\\pipe\\hvt-not-a-port-" + std::to_wstring(GetCurrentProcessId());
  const UniqueHandle device = new_pipe(settings.port);
  ASSERT_TRUE(device);
  std::wstring error;
  EXPECT_EQ(open_win32_port(settings, error), nullptr);
  EXPECT_NE(error, L"");
  EXPECT_FALSE(PeekNamedPipe(device.get(), nullptr, 0, nullptr, nullptr, nullptr));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_BROKEN_PIPE}) << "the other end must have been opened and closed";
}

TEST(StreamTransport, NeedsAHandle) {
  for (const HANDLE handle : {HANDLE{nullptr}, INVALID_HANDLE_VALUE})
    EXPECT_EQ(error_of([&] { make_stream_transport(UniqueHandle(handle), StreamKind::kOther); }),
              "Cannot create overlapped stream");
}

struct Pipe {
  UniqueHandle device;
  std::shared_ptr<SerialTransport> transport;
};

Pipe make_pipe(const wchar_t* name, StreamKind kind) {
  const std::wstring path = L"\\\\.\\pipe\\" + std::wstring(name) + std::to_wstring(GetCurrentProcessId());
  Pipe pipe;
  pipe.device = new_pipe(path);
  pipe.transport =
      make_stream_transport(UniqueHandle(CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr,
                                                     OPEN_EXISTING, FILE_FLAG_OVERLAPPED, nullptr)),
                            kind);
  return pipe;
}

TEST(StreamTransport, DeviceCallsLeaveAStreamThatIsNoSerialDeviceAlone) {
  const Pipe pipe = make_pipe(L"hvt-other-", StreamKind::kOther);
  DWORD written = 0;
  ASSERT_TRUE(WriteFile(pipe.device.get(), "abc", 3, &written, nullptr));
  std::wstring error = L"stale";
  EXPECT_TRUE(pipe.transport->discard_input(error));
  EXPECT_EQ(error, L"");
  CommErrorSnapshot errors{true, 1, 1};
  EXPECT_TRUE(pipe.transport->query_errors(errors, error));
  EXPECT_FALSE(errors.available);
  std::vector<std::uint8_t> buffer;
  const TimeLimit limit("what the device sent", [&pipe] { pipe.transport->cancel(); });
  ASSERT_TRUE(pipe.transport->read(buffer, error));
  EXPECT_EQ(buffer, (std::vector<std::uint8_t>{'a', 'b', 'c'}));
  EXPECT_TRUE(pipe.transport->read_is_current());
}

TEST(StreamTransport, ADeviceThatRefusesItsCallsGivesTheSystemsTextAndStillOvertakesTheRead) {
  const Pipe pipe = make_pipe(L"hvt-refusing-", StreamKind::kSerialDevice);
  std::wstring error;
  EXPECT_FALSE(pipe.transport->discard_input(error));
  EXPECT_NE(error, L"");
  EXPECT_FALSE(pipe.transport->read_is_current());
  CommErrorSnapshot errors;
  error.clear();
  EXPECT_FALSE(pipe.transport->query_errors(errors, error));
  EXPECT_NE(error, L"");
  EXPECT_TRUE(errors.available) << "the device has a status, it only could not be asked";
  EXPECT_EQ(errors.mask, 0U);
}

TEST(WindowsErrorText, IsTheSystemsMessageOnOneLineOrTheNumber) {
  const std::wstring denied = windows_error_text(ERROR_ACCESS_DENIED);
  EXPECT_GT(denied.size(), 5U);
  EXPECT_EQ(denied.find_last_of(L"\r\n"), std::wstring::npos);
  EXPECT_EQ(denied.find(L"Windows error"), std::wstring::npos);
  EXPECT_EQ(windows_error_text(0x2FFFFFFF), L"Windows error 805306367");
  // A message with an insert ("%1") must not make the lookup fail.
  EXPECT_NE(windows_error_text(ERROR_BAD_EXE_FORMAT).find(L"%1"), std::wstring::npos);
}

}  // namespace
}  // namespace hvt::test
