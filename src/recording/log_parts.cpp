#include "recording/log_parts.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "base/text.h"
#include "recording/names.h"

namespace hvt {
namespace {

using Fault = FileResult::Fault;

[[noreturn]] void fail(const std::string& what) {
  throw std::runtime_error(what);
}

}  // namespace

LogParts::LogParts(RecordingFiles& files, std::filesystem::path directory, std::wstring base,
                   std::uint64_t limit)
    : files_(files), directory_(std::move(directory)), base_(std::move(base)), limit_(limit) {}

std::filesystem::path LogParts::path_of(std::uint64_t number) const {
  return directory_ / to_path(part_name(base_, number));
}

std::wstring LogParts::last_file() const {
  return number_ == 0 ? std::wstring() : part_name(base_, number_);
}

void LogParts::next() {
  close();
  const FileResult result = create(number_ + 1);
  if (result.fault == Fault::exists)
    fail("The next recording part already exists; recording stopped to protect it.");
  if (!result.ok()) throw part_creation_error(result);
}

FileResult LogParts::create(std::uint64_t number) {
  FileResult result;
  std::unique_ptr<OutputFile> file = files_.create_new(path_of(number), result);
  if (!file) return result;
  file_ = std::move(file);
  number_ = number;
  part_bytes_ = 0;
  return {};
}

std::size_t LogParts::write(std::string_view bytes) {
  const std::string_view part = bytes.substr(0, std::min<std::uint64_t>(bytes.size(), limit_ - part_bytes_));
  const std::size_t written = file_->write(part);
  part_bytes_ += written;
  short_write_ = written < part.size();
  return written;
}

void LogParts::check_write() const {
  if (short_write_) fail("Cannot write recording file " + errno_suffix(file_->last_error()));
}

void LogParts::flush() {
  if (!file_->flush()) fail("Cannot flush recording file " + errno_suffix(file_->last_error()));
}

void LogParts::close() {
  if (!file_) return;
  const std::unique_ptr<OutputFile> closing = std::move(file_);
  const bool flushed = closing->flush();
  const int flush_error = closing->last_error();
  const bool closed = closing->close();
  if (!flushed) fail("Cannot flush recording file " + errno_suffix(flush_error));
  if (!closed) fail("Cannot close recording file " + errno_suffix(closing->last_error()));
}

std::runtime_error part_creation_error(const FileResult& result) {
  switch (result.fault) {
    case Fault::no_descriptor: return std::runtime_error("Cannot allocate recording file descriptor.");
    case Fault::no_stream: return std::runtime_error("Cannot allocate recording stream.");
    default: return std::runtime_error("Cannot create recording file " + system_error_suffix(result.code));
  }
}

}  // namespace hvt
