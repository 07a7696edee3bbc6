#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>

#include "recording/byte_queue.h"
#include "recording/log_parts.h"
#include "recording/metadata.h"
#include "recording/metadata_file.h"
#include "recording/recording_config.h"
#include "recording/recording_files.h"
#include "recording/utf8_block.h"

namespace hvt {

// What the window shows of a session. An empty error text means none.
struct RecordingStatus {
  bool accepting = false;  // enqueue() still takes blocks
  bool ended = false;      // everything is written and closed, the metadata too
  Integrity integrity = Integrity::no_reported_problem;
  StopReason stop_reason = StopReason::none;  // known as soon as the session stops accepting
  std::wstring log_error;                     // the first one; the session stopped because of it
  std::wstring metadata_error;                // the first one; the log goes on
  std::wstring session_base;
  std::wstring last_log_file;
  std::uint64_t parts_created = 0;
  std::uint64_t raw_rx_delivered_bytes = 0;
  std::uint64_t log_written_bytes = 0;
  std::uint64_t queued_bytes = 0;
  std::uint64_t comm_error_observations = 0;
  std::uint32_t comm_error_mask = 0;
};

// Writes one recording session to numbered part files, with a metadata file beside them.
//
// Promises  a block that enqueue() took is in the part files when the session ends, in order, or the session
//           says that it is incomplete; nothing is written behind a gap. A slow disk fills the queue and ends
//           the session; it never holds up the caller. What is written is visible to readers within
//           kGatherTime of the disk being free.
// Threads   enqueue() on the interface thread; everything else from any thread. The writer thread is its own
//           and alone touches files, once the constructor has created them.
// Owns      its thread, the open part, the queue.
// Ends      with stop(), a full queue or a failure of the disk: no more blocks are taken, those that were are
//           written (not behind a failed write), the files are closed, the metadata says why, and `ended`
//           runs once, on the writer thread. The destructor stops and waits for all that; it must not run in
//           `ended`.
class RecordingWriter {
 public:
  static constexpr std::chrono::milliseconds kGatherTime{5};
  static constexpr std::size_t kMostReceiveErrorUnits = 4096;

  // Creates the folder, the metadata file and the first part. Throws std::invalid_argument for the
  // configuration and std::runtime_error for the disk, with a sentence for the user; `ended` does not run
  // then.
  explicit RecordingWriter(RecordingConfig config, std::function<void()> ended = {},
                           std::unique_ptr<RecordingFiles> files = system_recording_files());
  RecordingWriter(const RecordingWriter&) = delete;
  RecordingWriter& operator=(const RecordingWriter&) = delete;
  ~RecordingWriter();

  // Copies the block and returns at once. `raw_rx_bytes` is how many received bytes it stands for, hidden
  // ones included. False when the session does not take blocks (any more).
  bool enqueue(std::wstring_view text, std::uint64_t raw_rx_bytes);
  bool enqueue(std::string_view utf8, std::uint64_t raw_rx_bytes);

  // The user's stop; a second one, or one after a failure, changes nothing.
  void stop();

  // The line reported errors (kComm bits).
  void add_comm_error(std::uint32_t mask, std::uint32_t input_queued_bytes);
  // Why no more data will come. Kept while nothing else is wrong; says nothing about the data.
  void note_connection_end(std::wstring_view text);
  // Received bytes did not reach the recording.
  void report_data_loss(std::wstring_view text);

  RecordingStatus status() const;
  // How large a block may be to fit by now.
  std::uint64_t room() const;

 private:
  using Clock = std::chrono::steady_clock;

  // Constructor
  void choose_base();
  bool claim(const std::wstring& base);
  void create_first_part();

  // Writer thread
  void run();
  void record();
  bool take(ByteChunk& chunk);
  void write(std::string_view bytes);
  void next_part();
  void flush_in_time();
  void finalize();
  void publish();

  void fail(StopReason reason, std::string_view what);
  void fail_locked(StopReason reason, std::string_view what);
  void keep_receive_error_locked(std::wstring_view text);
  SessionFacts facts() const;

  const RecordingConfig config_;
  const std::function<void()> ended_callback_;
  const std::unique_ptr<RecordingFiles> files_;
  Utf8Block encoder_;  // interface thread

  // The constructor, then the writer thread
  std::optional<MetadataFile> metadata_;
  std::optional<LogParts> parts_;
  std::shared_ptr<void> reserve_;  // for the last metadata
  std::uint64_t unflushed_bytes_ = 0;
  Clock::time_point next_flush_{};

  mutable std::mutex mutex_;
  std::condition_variable wake_;
  // Under the lock
  bool accepting_ = true;
  bool stopping_ = false;
  bool ended_ = false;
  StopReason stop_reason_ = StopReason::none;  // goes into the facts when all is written
  ByteQueue queue_;
  SessionFacts facts_;

  std::thread thread_;  // last: everything else is there when it starts
};

}  // namespace hvt
