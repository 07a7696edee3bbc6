// Risk: why a port could not be opened reaches a Korean user in English, or loses the name of the port or
// what the system said on the way.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>

#include <cerrno>
#include <string>
#include <vector>

#include "base/posix/error_text.h"
#include "base/posix/unique_fd.h"
#include "base/text.h"
#include "serial/posix/open_port.h"
#include "serial/posix/tty_transport.h"
#include "tests/support/pty.h"
#include "ui/messages.h"
#include "ui/texts.h"

namespace hvt::test {
namespace {

std::wstring failure_of(const SerialSettings& settings) {
  std::wstring error;
  EXPECT_EQ(open_posix_port(settings, error), nullptr);
  return error;
}

std::wstring failure_of(const std::wstring& port) {
  SerialSettings settings;
  settings.port = port;
  return failure_of(settings);
}

// The message of a port whose settings its device cannot have.
std::wstring impossible_settings() {
  const Pty pty;
  SerialSettings settings;
  settings.port = pty.port();
  settings.stop_bits = kStopBitsOneAndHalf;
  return failure_of(settings);
}

std::wstring busy(const Pty& pty) {
  const UniqueFd other(::open(pty.path().c_str(), O_RDWR | O_NOCTTY));
  EXPECT_EQ(::flock(other.get(), LOCK_EX | LOCK_NB), 0);
  return failure_of(pty.port());
}

TEST(LocalizedMessage, KnowsWhyAPortCouldNotBeOpened) {
  const Pty pty;
  const std::wstring system = errno_text(EPROTO);
  struct Case {
    std::wstring message;
    std::vector<std::wstring> kept;
  };
  const Case cases[]{
      {std::wstring{kDeviceRemoved}, {}},
      {impossible_settings(), {L"1.5"}},
      {busy(pty), {pty.port()}},
      {failure_of(L"/dev/null"), {L"/dev/null"}},
      {failure_of(L"no-such-port"), {L"no-such-port (/dev/no-such-port)"}},
      {no_permission_text({L"/dev/ttyUSB0", L"dialout", true}), {L"/dev/ttyUSB0", L"dialout"}},
      {no_permission_text({L"V0 (/dev/ttyUSB0)", L"root", false}), {L"V0 (/dev/ttyUSB0)", L"root"}},
      // These take a device that fails.
      {L"There is no device behind /dev/ttyS7.", {L"/dev/ttyS7"}},
      {L"/dev/ttyS7 refused the line settings: " + system, {L"/dev/ttyS7", system}},
      {L"Could not open /dev/ttyS7: " + system, {L"/dev/ttyS7", system}},
  };
  for (const Case& one : cases) {
    const std::wstring korean = localized_message(one.message, Language::korean);
    SCOPED_TRACE(utf16_to_utf8(one.message) + " -> " + utf16_to_utf8(korean));
    EXPECT_EQ(localized_message(one.message, Language::english), one.message);
    std::wstring rest = korean;
    for (const std::wstring& value : one.kept) {
      const std::size_t at = rest.find(value);
      ASSERT_NE(at, std::wstring::npos);
      rest.erase(at, value.size());
    }
    for (const wchar_t unit : rest)
      EXPECT_FALSE((unit >= L'A' && unit <= L'Z') || (unit >= L'a' && unit <= L'z'));
    EXPECT_NE(korean, one.message);
  }
}

}  // namespace
}  // namespace hvt::test
