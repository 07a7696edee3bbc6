#include "app/recorder.h"

#include <algorithm>
#include <utility>

namespace hvt {
namespace {

// Far more than one text needs, so that a session never ends for want of a few bytes.
constexpr std::uint64_t kEnoughRoom = std::uint64_t{1} << 20;

}  // namespace

void Recorder::start(const RecordingConfig& config) {
  writer_ = std::make_unique<RecordingWriter>(config, ended_);
  enough_room_ = std::min(kEnoughRoom, config.queue_capacity_bytes);
  line_is_open_ = ends_at_mark_ = false;
  errors_to_.with([&](RecordingWriter*& writer) { writer = writer_.get(); });
}

void Recorder::stop() {
  if (active()) writer_->stop();
}

void Recorder::note_connection_end(std::wstring_view text) {
  if (active()) writer_->note_connection_end(text);
}

void Recorder::report_data_loss(std::wstring_view text) {
  if (active()) writer_->report_data_loss(text);
}

void Recorder::add_comm_error(std::uint32_t mask, std::uint32_t input_queued_bytes) {
  errors_to_.with([&](RecordingWriter* writer) {
    if (writer != nullptr) writer->add_comm_error(mask, input_queued_bytes);
  });
}

RecordingStatus Recorder::finish() {
  const RecordingStatus status = writer_->status();
  close();
  return status;
}

void Recorder::close() {
  errors_to_.with([](RecordingWriter*& writer) { writer = nullptr; });
  writer_.reset();
}

void Recorder::take(const DisplayBatch& text) {
  if (!active()) return;
  writer_->enqueue(text.text(), text.raw_rx_bytes);
  if (!text.text().empty()) line_is_open_ = text.text().back() != L'\n';
}

void Recorder::break_line() {
  if (active() && std::exchange(line_is_open_, false)) writer_->enqueue(L"\r\n", 0);
}

void Recorder::stop_mark_reached() {
  if (ends_at_mark_) stop();
}

bool Recorder::has_room() const {
  return !active() || writer_->room() >= enough_room_;
}

}  // namespace hvt
