#include "serial/win32/stream_transport.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <limits>
#include <mutex>
#include <stdexcept>

#include "base/win32/error_text.h"
#include "serial/transport_limits.h"
#include "serial/win32/read_timeouts.h"

namespace hvt {
namespace {

using Clock = std::chrono::steady_clock;

// How one overlapped request ended.
struct Outcome {
  enum class Kind { kDone, kFailed, kCancelled, kTimedOut } kind = Kind::kDone;
  DWORD count = 0;  // bytes moved, of a failed request too
  DWORD error = ERROR_SUCCESS;
};

UniqueHandle new_event() {
  return UniqueHandle(CreateEventW(nullptr, TRUE, FALSE, nullptr));
}

// SerialTransport over an overlapped handle.
//
// Promises  cancel() ends a blocked read() or write() at once; no request outlives the call that issued it.
// Threads   as SerialTransport: reading, writing and the device calls each have a mutex of their own, and the
//           device mutex is never held while a request waits. cancel() takes none.
// Owns      the handle, the event that says "cancelled" for good, the buffer that reads go into.
// Ends      cancelled and closed by the destructor.
class Win32StreamTransport final : public SerialTransport {
 public:
  Win32StreamTransport(UniqueHandle handle, StreamKind kind)
      : handle_(std::move(handle)),
        cancel_event_(new_event()),
        kind_(kind),
        read_buffer_(std::make_unique_for_overwrite<std::uint8_t[]>(kReadBufferBytes)) {
    if (!handle_ || !cancel_event_) throw std::runtime_error("Cannot create overlapped stream");
  }
  ~Win32StreamTransport() override { Win32StreamTransport::cancel(); }

  bool read(std::vector<std::uint8_t>& buffer, std::wstring& error) override;
  bool write(std::span<const std::uint8_t> data, std::wstring& error) override;
  void cancel() override;
  bool discard_input(std::wstring& error) override;
  bool read_is_current() override { return read_generation_ == purge_generation_; }
  bool query_errors(CommErrorSnapshot& out, std::wstring& error) override;

 private:
  bool is_cancelled() const { return WaitForSingleObject(cancel_event_.get(), 0) == WAIT_OBJECT_0; }
  Outcome read_once(HANDLE event);
  Outcome write_once(std::span<const std::uint8_t> data, HANDLE event, Clock::time_point deadline);
  Outcome finish(OVERLAPPED& request, DWORD wait_ms);

  UniqueHandle handle_;
  UniqueHandle cancel_event_;  // manual-reset; once signalled it stays so
  const StreamKind kind_;

  std::mutex read_mutex_;    // held for the whole of read()
  std::mutex write_mutex_;   // held for the whole of write()
  std::mutex device_mutex_;  // orders the issue of a read, purges and error polls

  std::unique_ptr<std::uint8_t[]> read_buffer_;  // under read_mutex_
  OVERLAPPED read_request_{};                    // under read_mutex_; made anew under device_mutex_ as well
  std::atomic<std::uint64_t> purge_generation_{0};
  std::atomic<std::uint64_t> read_generation_{0};
};

// Waits for a pending request. Whatever happens, the request is over on return: `request` and the memory it
// moves are free again.
Outcome Win32StreamTransport::finish(OVERLAPPED& request, DWORD wait_ms) {
  // When both are signalled the first one counts: a request that cancel() aborted is reported as cancelled.
  const std::array events{cancel_event_.get(), request.hEvent};
  const DWORD wait = WaitForMultipleObjects(DWORD{events.size()}, events.data(), FALSE, wait_ms);

  Outcome outcome;
  if (wait == WAIT_OBJECT_0 + 1) {
    if (!GetOverlappedResult(handle_.get(), &request, &outcome.count, FALSE)) {
      outcome.kind = Outcome::Kind::kFailed;
      outcome.error = GetLastError();
    }
    return outcome;
  }
  CancelIoEx(handle_.get(), &request);
  GetOverlappedResult(handle_.get(), &request, &outcome.count, TRUE);
  outcome.kind = wait == WAIT_TIMEOUT ? Outcome::Kind::kTimedOut : Outcome::Kind::kCancelled;
  return outcome;
}

Outcome Win32StreamTransport::read_once(HANDLE event) {
  Outcome outcome;
  {
    const std::lock_guard device(device_mutex_);
    read_request_ = {};
    read_request_.hEvent = event;
    read_generation_ = purge_generation_.load();
    if (ReadFile(handle_.get(), read_buffer_.get(), DWORD{kReadBufferBytes}, &outcome.count,
                 &read_request_)) {
      return outcome;
    }
    outcome.error = GetLastError();
  }
  if (outcome.error == ERROR_IO_PENDING) return finish(read_request_, INFINITE);
  // Refused: the request was never started, so there is nothing to wait for.
  outcome.kind = Outcome::Kind::kFailed;
  return outcome;
}

bool Win32StreamTransport::read(std::vector<std::uint8_t>& buffer, std::wstring& error) {
  const std::lock_guard reading(read_mutex_);
  buffer.clear();
  error.clear();
  const UniqueHandle event = new_event();
  if (!event) {
    error = windows_error_text(GetLastError());
    return false;
  }
  if (is_cancelled()) return false;

  const Outcome outcome = read_once(event.get());
  if (outcome.kind == Outcome::Kind::kDone) {
    buffer.assign(read_buffer_.get(), read_buffer_.get() + outcome.count);
    return true;
  }
  if (outcome.kind == Outcome::Kind::kCancelled) return false;
  // Aborted without a cancel: discard_input() overtook this read. The caller just reads again.
  if (outcome.error == ERROR_OPERATION_ABORTED) return !is_cancelled();
  if (kind_ == StreamKind::kSerialDevice && outcome.error == read_timeouts().idle_error) return true;
  error = windows_error_text(outcome.error);
  return false;
}

Outcome Win32StreamTransport::write_once(std::span<const std::uint8_t> data, HANDLE event,
                                         Clock::time_point deadline) {
  ResetEvent(event);
  OVERLAPPED request{};
  request.hEvent = event;
  const auto size = static_cast<DWORD>(std::min<std::size_t>(data.size(), std::numeric_limits<DWORD>::max()));
  Outcome outcome;
  if (WriteFile(handle_.get(), data.data(), size, &outcome.count, &request)) return outcome;
  outcome.error = GetLastError();
  if (outcome.error != ERROR_IO_PENDING) {
    outcome.kind = Outcome::Kind::kFailed;
    return outcome;
  }
  const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
  return finish(request, static_cast<DWORD>(std::max<std::int64_t>(left.count(), 0)));
}

bool Win32StreamTransport::write(std::span<const std::uint8_t> data, std::wstring& error) {
  const std::lock_guard writing(write_mutex_);
  error.clear();
  const UniqueHandle event = new_event();
  if (!event) {
    error = windows_error_text(GetLastError());
    return false;
  }
  const Clock::time_point deadline = Clock::now() + kWriteLimit;
  while (!data.empty()) {
    if (is_cancelled()) {
      error = kConnectionClosed;
      return false;
    }
    const Outcome outcome = write_once(data, event.get(), deadline);
    switch (outcome.kind) {
      case Outcome::Kind::kDone: break;
      case Outcome::Kind::kTimedOut: error = kWriteTimedOut; return false;
      case Outcome::Kind::kCancelled: error = kConnectionClosed; return false;
      case Outcome::Kind::kFailed: error = windows_error_text(outcome.error); return false;
    }
    if (outcome.count == 0) {
      // The driver's own limit is as long as ours and may end the request a moment earlier.
      error = Clock::now() < deadline ? kWriteStuck : kWriteTimedOut;
      return false;
    }
    data = data.subspan(outcome.count);
  }
  return true;
}

void Win32StreamTransport::cancel() {
  SetEvent(cancel_event_.get());
  CancelIoEx(handle_.get(), nullptr);
}

bool Win32StreamTransport::discard_input(std::wstring& error) {
  error.clear();
  if (kind_ != StreamKind::kSerialDevice) return true;
  const std::lock_guard device(device_mutex_);
  ++purge_generation_;
  if (!PurgeComm(handle_.get(), PURGE_RXABORT | PURGE_RXCLEAR)) {
    error = windows_error_text(GetLastError());
    return false;
  }
  // Not every driver ends the waiting read for RXABORT. Left alone, that read would take bytes that come from
  // now on and be dropped with them as overtaken.
  CancelIoEx(handle_.get(), &read_request_);
  return true;
}

bool Win32StreamTransport::query_errors(CommErrorSnapshot& out, std::wstring& error) {
  out = {};
  error.clear();
  if (kind_ != StreamKind::kSerialDevice) return true;
  const std::lock_guard device(device_mutex_);
  out.available = true;
  DWORD mask = 0;
  COMSTAT status{};
  if (!ClearCommError(handle_.get(), &mask, &status)) {
    error = windows_error_text(GetLastError());
    return false;
  }
  out.mask = mask;
  out.input_queued_bytes = status.cbInQue;
  return true;
}

}  // namespace

std::shared_ptr<SerialTransport> make_stream_transport(UniqueHandle handle, StreamKind kind) {
  return std::make_shared<Win32StreamTransport>(std::move(handle), kind);
}

}  // namespace hvt
