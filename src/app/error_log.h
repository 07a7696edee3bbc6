#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <utility>

#include "recording/local_time.h"

namespace hvt {

// One line of the log with its line break: "2026-3-9 7:5:0" without leading zeros, a blank, the message.
// Throws std::runtime_error for a message that is not UTF-16.
std::string error_log_line(const LocalTime& time, std::wstring_view message);

// The file that tells afterwards which errors the program reported.
//
// Promises  appends one line per message; the folder is created when it is needed. What cannot be written is
//           lost without a word: an error must not bring another one.
// Threads   one at a time. Several programs may share the file.
class ErrorLog {
 public:
  // An empty path: nothing is kept.
  explicit ErrorLog(std::filesystem::path file) : file_(std::move(file)) {}

  void append(std::wstring_view message) const;

 private:
  const std::filesystem::path file_;
};

}  // namespace hvt
