// A named pipe keeps the promises of an overlapped stream exactly as Windows documents them, so it stands in
// for the device that no test machine has. Ports mapped to pseudo-terminals join when a bridge runs.

#include <windows.h>

#include <algorithm>
#include <atomic>
#include <stdexcept>

#include "base/win32/unique_handle.h"
#include "serial/win32/stream_transport.h"
#include "tests/serial/win32/mapped_port_rig.h"
#include "tests/support/transport_rig.h"

namespace hvt::test {
namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr DWORD kPatienceMs = 5'000;
constexpr DWORD kPipeBytes = 4'096;

std::wstring new_pipe_name() {
  static std::atomic<unsigned> count{0};
  return L"\\\\.\\pipe\\hvt-rig-" + std::to_wstring(GetCurrentProcessId()) + L"-" + std::to_wstring(++count);
}

class PipeRig final : public TransportRig {
 public:
  PipeRig() {
    const std::wstring name = new_pipe_name();
    device_ = UniqueHandle(CreateNamedPipeW(
        name.c_str(), PIPE_ACCESS_DUPLEX | FILE_FLAG_OVERLAPPED | FILE_FLAG_FIRST_PIPE_INSTANCE,
        PIPE_TYPE_BYTE | PIPE_READMODE_BYTE | PIPE_WAIT, 1, kPipeBytes, kPipeBytes, 0, nullptr));
    UniqueHandle host(CreateFileW(name.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING,
                                  FILE_FLAG_OVERLAPPED, nullptr));
    if (!device_ || !event_ || !host) throw std::runtime_error("no pipe");
    transport_ = make_stream_transport(std::move(host), StreamKind::kOther);
  }
  ~PipeRig() override { transport_->cancel(); }

  const std::shared_ptr<SerialTransport>& transport() const override { return transport_; }

  void device_sends(std::span<const std::uint8_t> bytes) override {
    while (!bytes.empty()) {
      OVERLAPPED request = new_request();
      const BOOL done =
          WriteFile(device_.get(), bytes.data(), static_cast<DWORD>(bytes.size()), nullptr, &request);
      const DWORD count = moved(done, request);
      if (count == 0) return;
      bytes = bytes.subspan(count);
    }
  }

  Bytes device_receives(std::size_t count) override {
    Bytes received(count);
    std::size_t filled = 0;
    while (filled < count) {
      OVERLAPPED request = new_request();
      const BOOL done = ReadFile(device_.get(), received.data() + filled, static_cast<DWORD>(count - filled),
                                 nullptr, &request);
      const DWORD got = moved(done, request);
      if (got == 0) break;
      filled += got;
    }
    received.resize(filled);
    return received;
  }

  void device_stalls() override {}  // it takes only what device_receives() asks for
  void device_vanishes() override { device_.reset(); }

 private:
  OVERLAPPED new_request() {
    ResetEvent(event_.get());
    OVERLAPPED request{};
    request.hEvent = event_.get();
    return request;
  }

  // Bytes that the request just issued moves; 0 after a failure or 5 s.
  DWORD moved(BOOL done, OVERLAPPED& request) {
    if (!done && GetLastError() != ERROR_IO_PENDING) return 0;
    if (WaitForSingleObject(event_.get(), kPatienceMs) != WAIT_OBJECT_0) CancelIoEx(device_.get(), &request);
    DWORD count = 0;
    GetOverlappedResult(device_.get(), &request, &count, TRUE);
    return count;
  }

  UniqueHandle device_;
  UniqueHandle event_{CreateEventW(nullptr, TRUE, FALSE, nullptr)};
  std::shared_ptr<SerialTransport> transport_;
};

}  // namespace

std::vector<RigKind> system_rig_kinds() {
  std::vector<RigKind> kinds{
      {"NamedPipe",
       {.write_blocks = true, .write_deadline = true, .unplug = true, .device_end = true},
       [] { return std::make_unique<PipeRig>(); }},
  };
  if (mapped_ports_available()) {
    // No discard_ends_read: PurgeComm of Wine aborts nothing, and while Wine is about to hand bytes to a
    // waiting read, CancelIoEx does not find it (ERROR_NOT_FOUND). That read goes on and takes what comes for
    // 50 ms. The drivers of Windows end it within PurgeComm.
    RigTraits traits = kSerialLine;
    traits.discard_ends_read = false;
    kinds.push_back({"MappedPort", traits, make_mapped_port_rig});
  }
  return kinds;
}

}  // namespace hvt::test
