#pragma once

#include <signal.h>
#include <sys/resource.h>

namespace hvt::test {

// A limit of this process stands for a full disk: the write that meets it is short, the next one fails with
// EFBIG (27).
//
// Threads   while it lives no other test may write.
// Ends      by lifting the limit.
class FileSizeLimit {
 public:
  explicit FileSizeLimit(rlim_t bytes) {
    ::getrlimit(RLIMIT_FSIZE, &old_);
    old_handler_ = ::signal(SIGXFSZ, SIG_IGN);
    const rlimit limit{bytes, old_.rlim_max};
    ::setrlimit(RLIMIT_FSIZE, &limit);
  }
  FileSizeLimit(const FileSizeLimit&) = delete;
  FileSizeLimit& operator=(const FileSizeLimit&) = delete;
  ~FileSizeLimit() {
    ::setrlimit(RLIMIT_FSIZE, &old_);
    ::signal(SIGXFSZ, old_handler_);
  }

 private:
  rlimit old_{};
  sighandler_t old_handler_ = SIG_DFL;
};

}  // namespace hvt::test
