#pragma once

#include <condition_variable>
#include <deque>
#include <mutex>

#include "serial/serial_transport.h"

namespace hvt {

// A device in memory that sends back what it is sent, one read per earlier write.
//
// Promises  writes come back in order, each as one chunk.
// Threads   any; one mutex serialises everything and only read() waits.
// Owns      the queue of echoes.
// Ends      cancel() closes it for good: read() returns false, write() fails.
class EchoTransport final : public SerialTransport {
 public:
  bool read(std::vector<std::uint8_t>& buffer, std::wstring& error) override;
  bool write(std::span<const std::uint8_t> data, std::wstring& error) override;
  void cancel() override;
  bool discard_input(std::wstring& error) override;

  // Switches for rehearsed faults; a new transport echoes and accepts writes.
  void set_echo(bool echo);
  void set_fail_writes(bool fail);

 private:
  std::mutex mutex_;
  std::condition_variable readable_;
  std::deque<std::vector<std::uint8_t>> echoes_;
  bool closed_ = false;
  bool echo_ = true;
  bool fail_writes_ = false;
};

}  // namespace hvt
