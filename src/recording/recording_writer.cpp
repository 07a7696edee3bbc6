#include "recording/recording_writer.h"

#include <algorithm>
#include <new>
#include <stdexcept>
#include <utility>

#include "base/text.h"
#include "recording/names.h"

namespace hvt {
namespace {

// Holds the longest metadata: 256 error reports of less than 100 bytes and the texts, escaped.
constexpr std::size_t kReservedBytes = std::size_t{64} << 10;

RecordingConfig valid(RecordingConfig config) {
  validate(config);
  config.filename = sanitised_name(config.filename);
  return config;
}

// Runs the action; what it throws goes to `failed` as text.
template <typename Action, typename Failed>
void guard(Action&& action, std::string_view unexpected, Failed&& failed) {
  try {
    action();
  } catch (const std::exception& error) {
    failed(std::string_view(error.what()));
  } catch (...) {
    failed(unexpected);
  }
}

}  // namespace

RecordingWriter::RecordingWriter(RecordingConfig config, std::function<void()> ended,
                                 std::unique_ptr<RecordingFiles> files)
    : config_(valid(std::move(config))),
      ended_callback_(std::move(ended)),
      files_(std::move(files)),
      queue_(config_.queue_capacity_bytes) {
  facts_.started = std::chrono::system_clock::now();
  facts_.serial = config_.serial;
  facts_.receive_format = config_.receive_format;
  const FileResult folders = files_->create_folders(config_.directory);
  if (!folders.ok())
    throw std::runtime_error("Cannot create recording directory " +
                             errno_suffix(static_cast<int>(folders.code)));
  reserve_ = files_->reserve(config_.directory, kReservedBytes);
  choose_base();
  const auto start = [this] {
    create_first_part();
    next_flush_ = Clock::now() + std::chrono::milliseconds(config_.flush_interval_ms);
    thread_ = std::thread([this] { run(); });
  };
  std::optional<std::string> error;
  guard(start, "Unexpected failure starting recording.", [&](std::string_view what) { error = what; });
  if (!error) return;
  // The metadata file is there already and must not look like a session that runs.
  fail(StopReason::start_failed, *error);
  finalize();
  throw std::runtime_error(*error);
}

RecordingWriter::~RecordingWriter() {
  stop();
  thread_.join();
}

void RecordingWriter::choose_base() {
  for (int attempt = 0; attempt <= kLastBaseAttempt; ++attempt) {
    const std::wstring base = hvt::session_base(config_.filename, attempt);
    facts_.session_base = base;
    parts_.emplace(*files_, config_.directory, base, config_.part_limit_bytes);
    if (claim(base)) return;
  }
  throw std::runtime_error("Cannot allocate a unique recording filename.");
}

// False when the base is in use. It is taken by creating its metadata file or, without metadata, its first
// part.
bool RecordingWriter::claim(const std::wstring& base) {
  if (config_.write_metadata) {
    metadata_.emplace(*files_, config_.directory / to_path(metadata_name(base)));
    return metadata_->claim(metadata_text(facts_));
  }
  const FileResult result = parts_->create_first();
  if (!result.ok() && result.fault != FileResult::Fault::exists) throw part_creation_error(result);
  return result.ok();
}

void RecordingWriter::create_first_part() {
  if (config_.write_metadata) {
    const FileResult result = parts_->create_first();
    if (!result.ok()) throw part_creation_error(result);
  }
  facts_.parts_created = parts_->created();
  facts_.last_log_file = parts_->last_file();
}

// Any thread

bool RecordingWriter::enqueue(std::wstring_view text, std::uint64_t raw_rx_bytes) {
  std::string_view block;
  try {
    block = encoder_.encode(text);
  } catch (const std::bad_alloc&) {
    fail(StopReason::queue_allocation_failure, "Cannot allocate recording buffer.");
    return false;
  } catch (const std::exception& error) {
    fail(StopReason::writer_failure, error.what());
    return false;
  }
  return enqueue(block, raw_rx_bytes);
}

bool RecordingWriter::enqueue(std::string_view utf8, std::uint64_t raw_rx_bytes) {
  bool due = false;
  {
    const std::lock_guard lock(mutex_);
    if (!accepting_) return false;
    facts_.raw_rx_delivered_bytes += raw_rx_bytes;
    const std::uint64_t before = queue_.size();
    try {
      if (!queue_.try_push(utf8))
        fail_locked(StopReason::queue_overflow, "Recording buffer full. Recording stopped.");
    } catch (const std::bad_alloc&) {
      fail_locked(StopReason::queue_allocation_failure, "Cannot allocate recording buffer.");
    }
    if (!accepting_) return false;
    // The writer sleeps until there is something, and then until there is enough for one large write.
    constexpr std::uint64_t kEnough = ByteQueue::kChunkBytes;
    due = queue_.size() > before && (before == 0 || (before < kEnough && queue_.size() >= kEnough));
  }
  if (due) wake_.notify_one();
  return true;
}

void RecordingWriter::stop() {
  const std::lock_guard lock(mutex_);
  accepting_ = false;
  if (std::exchange(stopping_, true)) return;
  stop_reason_ = StopReason::user_stop;
  wake_.notify_all();
}

void RecordingWriter::fail(StopReason reason, std::string_view what) {
  const std::lock_guard lock(mutex_);
  fail_locked(reason, what);
}

// The first error wins, and its reason with it: a stop that the user asked for and that then fails is a
// failure, while a disk that fails after the queue overflowed changes nothing.
void RecordingWriter::fail_locked(StopReason reason, std::string_view what) {
  accepting_ = false;
  stopping_ = true;
  facts_.integrity = Integrity::incomplete;
  if (facts_.log_error.empty()) {
    facts_.log_error = utf8_to_utf16_lossy(what);
    stop_reason_ = reason;
  }
  wake_.notify_all();
}

void RecordingWriter::add_comm_error(std::uint32_t mask, std::uint32_t input_queued_bytes) {
  if (mask == 0) return;
  const auto now = std::chrono::system_clock::now();
  const std::lock_guard lock(mutex_);
  if (!accepting_) return;
  facts_.communication_errors.add({now, mask, input_queued_bytes});
  facts_.integrity = std::max(facts_.integrity, Integrity::suspect);
}

void RecordingWriter::note_connection_end(std::wstring_view text) {
  const std::lock_guard lock(mutex_);
  if (accepting_ && facts_.log_error.empty()) keep_receive_error_locked(text);
}

void RecordingWriter::report_data_loss(std::wstring_view text) {
  const std::lock_guard lock(mutex_);
  if (!accepting_) return;
  facts_.integrity = Integrity::incomplete;
  keep_receive_error_locked(text);
}

void RecordingWriter::keep_receive_error_locked(std::wstring_view text) {
  if (!facts_.receive_processing_error.empty()) return;
  std::size_t length = std::min(text.size(), kMostReceiveErrorUnits);
  if (length < text.size() && is_low_surrogate(static_cast<std::uint32_t>(text[length]))) --length;
  facts_.receive_processing_error = text.substr(0, length);
}

RecordingStatus RecordingWriter::status() const {
  const std::lock_guard lock(mutex_);
  return {
      .accepting = accepting_,
      .ended = ended_,
      .integrity = facts_.integrity,
      .stop_reason = stop_reason_,
      .log_error = facts_.log_error,
      .metadata_error = facts_.metadata_error,
      .session_base = facts_.session_base,
      .last_log_file = facts_.last_log_file,
      .parts_created = facts_.parts_created,
      .raw_rx_delivered_bytes = facts_.raw_rx_delivered_bytes,
      .log_written_bytes = facts_.log_written_bytes,
      .queued_bytes = queue_.size(),
      .comm_error_observations = facts_.communication_errors.observations,
      .comm_error_mask = facts_.communication_errors.mask,
  };
}

std::uint64_t RecordingWriter::room() const {
  const std::lock_guard lock(mutex_);
  return config_.queue_capacity_bytes - queue_.size();
}

// Writer thread

void RecordingWriter::run() {
  publish();
  guard([this] { record(); }, "Unexpected recording writer failure.",
        [this](std::string_view what) { fail(StopReason::writer_failure, what); });
  guard([this] { parts_->close(); }, "Unexpected recording close failure.",
        [this](std::string_view what) { fail(StopReason::writer_failure, what); });
  finalize();
  if (ended_callback_) ended_callback_();
}

void RecordingWriter::record() {
  ByteChunk chunk;
  while (take(chunk)) {
    write(chunk.view());
    flush_in_time();
  }
}

// Waits for something to write, for a due flush (the chunk is empty then) or for the end; false at the end.
bool RecordingWriter::take(ByteChunk& chunk) {
  std::unique_lock lock(mutex_);
  wake_.wait_until(lock, next_flush_, [this] { return stopping_ || !queue_.empty(); });
  if (!queue_.empty()) {
    // One write for many small blocks: without this pause every block costs a wake-up and a system call.
    const auto gathered = std::min(next_flush_, Clock::now() + kGatherTime);
    wake_.wait_until(lock, gathered, [this] { return stopping_ || queue_.size() >= ByteQueue::kChunkBytes; });
  }
  queue_.take(chunk);
  return chunk.size > 0 || !stopping_;
}

void RecordingWriter::write(std::string_view bytes) {
  while (!bytes.empty()) {
    if (parts_->full()) next_part();
    const std::size_t written = parts_->write(bytes);
    bytes.remove_prefix(written);
    unflushed_bytes_ += written;
    {
      const std::lock_guard lock(mutex_);
      facts_.log_written_bytes += written;
    }
    parts_->check_write();
    if (unflushed_bytes_ >= config_.flush_bytes) {
      parts_->flush();
      unflushed_bytes_ = 0;
    }
  }
}

void RecordingWriter::next_part() {
  parts_->next();
  unflushed_bytes_ = 0;
  {
    const std::lock_guard lock(mutex_);
    facts_.parts_created = parts_->created();
    facts_.last_log_file = parts_->last_file();
  }
  publish();
}

void RecordingWriter::flush_in_time() {
  const auto now = Clock::now();
  if (now < next_flush_) return;
  parts_->flush();
  unflushed_bytes_ = 0;
  publish();
  next_flush_ = now + std::chrono::milliseconds(config_.flush_interval_ms);
}

void RecordingWriter::finalize() {
  reserve_.reset();
  {
    const std::lock_guard lock(mutex_);
    facts_.stop_reason = stop_reason_;
    facts_.stopped = std::chrono::system_clock::now();
    facts_.finalized = true;
  }
  publish();
  const std::lock_guard lock(mutex_);
  ended_ = true;
}

void RecordingWriter::publish() {
  if (!metadata_) return;
  guard([this] { metadata_->publish(metadata_text(facts())); }, "Unexpected recording metadata failure.",
        [this](std::string_view what) {
          const std::lock_guard lock(mutex_);
          if (facts_.metadata_error.empty()) facts_.metadata_error = utf8_to_utf16_lossy(what);
        });
}

SessionFacts RecordingWriter::facts() const {
  const std::lock_guard lock(mutex_);
  return facts_;
}

}  // namespace hvt
