#include "serial/posix/tty_transport.h"

#include <asm/termbits.h>
#include <fcntl.h>
#include <linux/serial.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/ioctl.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <stdexcept>
#include <thread>

#include "base/posix/error_text.h"
#include "serial/driver_call.h"

namespace hvt {
namespace {

using Clock = std::chrono::steady_clock;

// A terminal hands out at most 4,095 bytes at a time. A read that brings much less has emptied the queue, and
// another one would only delay what is already here.
constexpr std::ptrdiff_t kMoreIsLikely = 2048;

// A read of a silent line returns for the sake of the errors that are asked for in between. Where none are
// counted there is nothing to ask for, and waking up is most of what an idle connection costs.
constexpr std::chrono::milliseconds kIdleReturnWithoutCounts{500};

// Time that bytes already written get to leave the driver's queue before the device is closed: 500 bytes at
// 9600 baud. Longer, and a disconnect would be felt.
constexpr std::chrono::milliseconds kDrainLimit{500};
constexpr std::chrono::milliseconds kDrainStep{2};

struct ErrorKind {
  int ErrorCounts::*count;
  std::uint32_t bit;
};
constexpr std::array kErrorKinds{
    ErrorKind{&ErrorCounts::queue_overflows, kCommRxOver}, ErrorKind{&ErrorCounts::overruns, kCommOverrun},
    ErrorKind{&ErrorCounts::parity, kCommParity}, ErrorKind{&ErrorCounts::frame, kCommFrame},
    ErrorKind{&ErrorCounts::breaks, kCommBreak}};

// What the drivers answer after an unplug, besides a read of zero bytes.
bool means_removed(int code) {
  return code == EIO || code == ENODEV || code == ENXIO;
}

bool fail_with_code(std::wstring& error, int code) {
  error = means_removed(code) ? std::wstring(kDeviceRemoved) : errno_text(code);
  return false;
}

bool would_block(int code) {
  return code == EAGAIN || code == EWOULDBLOCK;
}

// As the kernel wants it, so that a wait never ends before its limit nor asks again in a loop.
timespec to_timespec(std::chrono::nanoseconds time) {
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(time);
  return {seconds.count(), (time - seconds).count()};
}

}  // namespace

std::uint32_t errors_between(const ErrorCounts& before, const ErrorCounts& now) {
  std::uint32_t mask = 0;
  for (const ErrorKind& kind : kErrorKinds)
    if (now.*kind.count != before.*kind.count) mask |= kind.bit;
  return mask;
}

TtyTransport::TtyTransport(UniqueFd device)
    : device_(std::move(device)),
      cancel_event_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)),
      taken_(std::make_unique_for_overwrite<std::uint8_t[]>(kReadBufferBytes)) {
  if (!device_ || !cancel_event_) throw std::runtime_error("Cannot create serial stream");
  // A driver that does not count errors now will not do so later; a pseudo-terminal is one.
  counts_errors_ = read_error_counts(error_counts_);
}

TtyTransport::~TtyTransport() {
  cancel();
  drain_output();
  // Without this the close waits, with some drivers for 30 s, until a stalled device has taken everything.
  // A pseudo-terminal reports an empty queue and loses nothing in a plain close.
  if (output_queued() > 0) ::ioctl(device_.get(), TCFLSH, TCOFLUSH);
  ::ioctl(device_.get(), TIOCNXCL);
}

int TtyTransport::output_queued() const {
  int bytes = 0;
  return ::ioctl(device_.get(), TIOCOUTQ, &bytes) == 0 ? bytes : 0;
}

// What write() promised to the user is still on its way out of the driver's queue.
void TtyTransport::drain_output() const {
  const auto deadline = Clock::now() + kDrainLimit;
  while (output_queued() > 0 && Clock::now() < deadline)
    std::this_thread::sleep_for(kDrainStep);
}

void TtyTransport::cancel() {
  const std::uint64_t one = 1;
  // It can only fail with the event already at its limit, which is set as well.
  [[maybe_unused]] const auto written = ::write(cancel_event_.get(), &one, sizeof one);
}

// Waits for `events` or an end of the line (`hung_up`); a cancel comes first.
TtyTransport::Wait TtyTransport::wait_for(short events, std::chrono::nanoseconds limit, bool& hung_up,
                                          std::wstring& error) const {
  const auto deadline = Clock::now() + limit;
  for (;;) {
    std::array<pollfd, 2> waits{pollfd{device_.get(), events, 0}, pollfd{cancel_event_.get(), POLLIN, 0}};
    const timespec left = to_timespec(std::max(deadline - Clock::now(), std::chrono::nanoseconds(0)));
    const int ready = ::ppoll(waits.data(), waits.size(), &left, nullptr);
    if (ready < 0 && errno == EINTR) continue;
    if (ready < 0) {
      error = errno_text(errno);
      return Wait::kFailed;
    }
    if (waits[1].revents != 0) return Wait::kCancelled;
    if (ready == 0) return Wait::kTimeOut;
    hung_up = (waits[0].revents & (POLLHUP | POLLERR | POLLNVAL)) != 0;
    return Wait::kReady;
  }
}

// One read of the driver's queue to `taken_` behind `count` bytes, which grows by what came. Bytes from
// before a discard and bytes from after it never share a buffer: what a discard overtook is dropped here.
TtyTransport::Taken TtyTransport::take_bytes(std::size_t& count) {
  const std::lock_guard lock(device_mutex_);
  const std::uint64_t now = purge_generation_;
  if (read_generation_ != now) count = 0;
  read_generation_ = now;
  const auto taken = ::read(device_.get(), taken_.get() + count, kReadBufferBytes - count);
  const int code = taken < 0 ? errno : 0;
  if (taken > 0) count += static_cast<std::size_t>(taken);
  return {taken, code};
}

bool TtyTransport::read(std::vector<std::uint8_t>& buffer, std::wstring& error) {
  const std::lock_guard lock(read_mutex_);
  buffer.clear();
  error.clear();
  bool hung_up = false;
  switch (wait_for(POLLIN, counts_errors_ ? kIdleReturn : kIdleReturnWithoutCounts, hung_up, error)) {
    case Wait::kReady: break;
    case Wait::kTimeOut: return true;
    case Wait::kCancelled:
    case Wait::kFailed: return false;
  }
  std::size_t count = 0;
  Taken last;
  do {
    last = take_bytes(count);
  } while ((last.bytes >= kMoreIsLikely && count < kReadBufferBytes) || last.code == EINTR);
  // An end of the line found behind some bytes is there to be found again by the next read.
  if (count > 0) {
    buffer.assign(taken_.get(), taken_.get() + count);
    return true;
  }
  if (would_block(last.code) && !hung_up) return true;  // a discard was faster
  // A zero-length read of a line that was ready means that the device is gone, not "no data yet".
  if (last.bytes == 0 || would_block(last.code)) return fail(error, kDeviceRemoved);
  return fail_with_code(error, last.code);
}

bool TtyTransport::write(std::span<const std::uint8_t> data, std::wstring& error) {
  const std::lock_guard lock(write_mutex_);
  error.clear();
  if (data.empty()) return true;
  const auto deadline = Clock::now() + kWriteLimit;
  bool hung_up = false;
  Wait wait = wait_for(0, std::chrono::nanoseconds(0), hung_up, error);
  while (wait != Wait::kCancelled && wait != Wait::kFailed) {
    const auto written = ::write(device_.get(), data.data(), data.size());
    const int code = written < 0 ? errno : 0;
    if (written == 0) return fail(error, kWriteStuck);
    if (written > 0) data = data.subspan(static_cast<std::size_t>(written));
    if (data.empty()) return true;
    if (written < 0 && !would_block(code) && code != EINTR) return fail_with_code(error, code);
    if (would_block(code) && hung_up) return fail(error, kDeviceRemoved);
    const auto left = deadline - Clock::now();
    if (left <= left.zero()) return fail(error, kWriteTimedOut);
    wait = wait_for(POLLOUT, left, hung_up, error);
    if (wait == Wait::kTimeOut) return fail(error, kWriteTimedOut);
  }
  return wait == Wait::kCancelled ? fail(error, kConnectionClosed) : false;
}

bool TtyTransport::discard_input(std::wstring& error) {
  const std::lock_guard lock(device_mutex_);
  error.clear();
  ++purge_generation_;
  return ::ioctl(device_.get(), TCFLSH, TCIFLUSH) == 0 || fail_with_code(error, errno);
}

bool TtyTransport::read_is_current() {
  return read_generation_ == purge_generation_;
}

bool TtyTransport::read_error_counts(ErrorCounts& counts) const {
  serial_icounter_struct totals{};
  if (::ioctl(device_.get(), TIOCGICOUNT, &totals) != 0) return false;
  counts = {totals.buf_overrun, totals.overrun, totals.parity, totals.frame, totals.brk};
  return true;
}

bool TtyTransport::query_errors(CommErrorSnapshot& out, std::wstring& error) {
  const std::lock_guard lock(device_mutex_);
  out = {};
  error.clear();
  if (!counts_errors_) return true;
  out.available = true;
  ErrorCounts counts{};
  int queued = 0;
  if (!read_error_counts(counts) || ::ioctl(device_.get(), FIONREAD, &queued) != 0)
    return fail_with_code(error, errno);
  out.mask = errors_between(error_counts_, counts);
  error_counts_ = counts;
  out.input_queued_bytes = static_cast<std::uint32_t>(std::max(queued, 0));
  return true;
}

}  // namespace hvt
