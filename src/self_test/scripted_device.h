#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "serial/serial_transport.h"

namespace hvt::self_test {

// A device in memory that does what a scene tells it to: speaks up, answers after a while or never, takes
// nothing, fails, is pulled out.
//
// Promises  what it says arrives in order, each piece as one chunk; what it was sent is kept.
// Threads   any; only read() and a blocked write() wait.
// Owns      its script and what it was sent.
// Ends      cancel() closes it for good: read() returns false, write() fails.
class ScriptedDevice final : public SerialTransport {
 public:
  // Says something of its own, once the delay is over.
  void say(std::string_view bytes, std::chrono::milliseconds delay = {});
  // Every later write is answered with these bytes after the delay; nothing ends that.
  void answer(std::optional<std::string> bytes, std::chrono::milliseconds delay = {});

  enum class Writing { accepts, blocks, fails };
  // A blocked write goes on in the new way.
  void set_writing(Writing writing);
  // From now on every read and write fails with this text.
  void unplug(std::wstring error);
  // The next poll reports these bits.
  void report_errors(std::uint32_t mask);

  // Everything it was sent.
  std::string received() const;
  bool write_is_blocked() const;

  bool read(std::vector<std::uint8_t>& buffer, std::wstring& error) override;
  bool write(std::span<const std::uint8_t> data, std::wstring& error) override;
  void cancel() override;
  bool discard_input(std::wstring& error) override;
  bool query_errors(CommErrorSnapshot& out, std::wstring& error) override;

 private:
  using Time = std::chrono::steady_clock::time_point;
  struct Piece {
    Time due{};
    std::string bytes;
  };

  void say_locked(std::string_view bytes, std::chrono::milliseconds delay);
  bool ended(std::wstring& error) const;

  mutable std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<Piece> pieces_;
  std::optional<std::string> answer_;
  std::chrono::milliseconds answer_delay_{};
  std::optional<std::wstring> unplugged_;
  std::string received_;
  std::uint32_t errors_ = 0;
  Writing writing_ = Writing::accepts;
  bool write_blocked_ = false;
  bool cancelled_ = false;
};

}  // namespace hvt::self_test
