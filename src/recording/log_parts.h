#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

#include "recording/recording_files.h"

namespace hvt {

// The numbered part files of one session, one open at a time.
//
// Promises  a part holds `limit` bytes at most; no file that was there before is touched.
// Threads   one.
// Owns      the open part.
// Ends      with close(), or with the destructor after a failure.
//
// Failures are std::runtime_error with a sentence for the user.
class LogParts {
 public:
  // Parts are called `base` in `directory`, with their number behind it.
  LogParts(RecordingFiles& files, std::filesystem::path directory, std::wstring base, std::uint64_t limit);

  // Reports instead of throwing: a file that is there already may mean that another base is to be tried.
  FileResult create_first() { return create(1); }
  bool full() const { return part_bytes_ >= limit_; }
  // Flushes and closes this part, creates the next one.
  void next();

  // How many bytes were written: all that are given or that the part has room for; fewer after a failure,
  // which check_write() then throws.
  std::size_t write(std::string_view bytes);
  void check_write() const;
  void flush();
  // Flushes and closes the open part, if there is one. After a failure the part is closed all the same.
  void close();

  std::uint64_t created() const { return number_; }
  std::wstring last_file() const;

 private:
  std::filesystem::path path_of(std::uint64_t number) const;
  FileResult create(std::uint64_t number);

  RecordingFiles& files_;
  const std::filesystem::path directory_;
  const std::wstring base_;
  const std::uint64_t limit_;
  std::unique_ptr<OutputFile> file_;
  std::uint64_t number_ = 0;
  std::uint64_t part_bytes_ = 0;
  bool short_write_ = false;
};

// The sentence for a part that could not be created.
std::runtime_error part_creation_error(const FileResult& result);

}  // namespace hvt
