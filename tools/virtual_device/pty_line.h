#pragma once

#include <filesystem>

#include "base/posix/unique_fd.h"

namespace hvt::device {

// The device's end of a pseudo-terminal that passes every byte unchanged.
struct PtyLine {
  UniqueFd master;  // non-blocking, in packet mode: a byte of news (TIOCPKT_...) precedes what is read
  std::filesystem::path path;  // of the end that the program opens
};

// Throws std::runtime_error. Nobody has the other end open, and the master shows it.
PtyLine open_pty_line();

}  // namespace hvt::device
