#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string_view>

#include "app/display_pump.h"
#include "base/guarded.h"
#include "recording/recording_writer.h"

namespace hvt {

// The recording session of the program, one at a time.
//
// Promises  every text from start() to the stop mark is written, or the session says what is missing; nothing
//           here waits for the disk but the destructor.
// Threads   the interface thread; add_comm_error() on the connection thread. `ended` is called on a thread of
//           the session, once for each start().
// Owns      the session.
// Ends      a session ends by itself or some time after stop(), with `ended`, whose receiver then calls
//           finish(). The destructor stops a session and waits for its files.
class Recorder final : public TextSink {
 public:
  explicit Recorder(std::function<void()> ended) : ended_(std::move(ended)) {}
  ~Recorder() override { close(); }

  // Throws what RecordingWriter throws.
  void start(const RecordingConfig& config);
  // A session is there, running or draining.
  bool active() const { return writer_ != nullptr; }
  bool accepting() const { return active() && writer_->status().accepting; }
  RecordingStatus status() const { return writer_->status(); }

  void stop();
  // The session ends where the next stop mark stands. One that an earlier session left behind ends nothing.
  void stop_at_mark() { ends_at_mark_ = true; }
  void note_connection_end(std::wstring_view text);
  void report_data_loss(std::wstring_view text);
  void add_comm_error(std::uint32_t mask, std::uint32_t input_queued_bytes);

  // After `ended`: gives the session up and returns how it went.
  RecordingStatus finish();

  void take(const DisplayBatch& text) override;
  void break_line() override;
  void stop_mark_reached() override;
  bool has_room() const override;

 private:
  void close();

  const std::function<void()> ended_;
  std::unique_ptr<RecordingWriter> writer_;
  Guarded<RecordingWriter*> errors_to_{nullptr};  // writer_, for the connection thread
  std::uint64_t enough_room_ = 0;                 // the whole queue, if that is small
  bool line_is_open_ = false;
  bool ends_at_mark_ = false;
};

}  // namespace hvt
