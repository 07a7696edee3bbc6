#include "settings/file_replacement.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <limits>
#include <system_error>

#include "base/posix/unique_fd.h"

namespace hvt {
namespace {

using std::filesystem::path;

constexpr int kMostLinks = 40;  // as many as the kernel follows
constexpr mode_t kNewFileMode = 0666;
constexpr mode_t kPrivateMode = 0600;

// Gives a new file the owner and the rights of an old one. A group that cannot be given away must not lend
// its rights to another group.
void copy_rights(int fd, const struct stat& old) {
  mode_t mode = old.st_mode & 0777;
  if (::fchown(fd, old.st_uid, old.st_gid) != 0 && ::fchown(fd, static_cast<uid_t>(-1), old.st_gid) != 0)
    mode = (mode & 0707) | ((mode & 0007) << 3);
  // Not every file system knows rights; there is nothing to keep then.
  [[maybe_unused]] const int kept = ::fchmod(fd, mode);
}

// Only an ordinary file that the user may write is replaced: rename() itself would do away with a device node
// or with a file that was protected on purpose.
bool may_replace(const path& target) {
  struct stat old {};
  if (::stat(target.c_str(), &old) != 0) return errno == ENOENT;
  return S_ISREG(old.st_mode) && ::faccessat(AT_FDCWD, target.c_str(), W_OK, AT_EACCESS) == 0;
}

class PosixFileReplacement : public FileReplacement {
 public:
  path resolve(const path& name) override {
    path place = name;
    for (int links = 0; links < kMostLinks; ++links) {
      std::error_code error;
      const path target = std::filesystem::read_symlink(place, error);
      if (error) break;  // no link
      place = place.parent_path() / target;
    }
    return place;
  }

  bool create(const path& temporary, const path& target) override {
    struct stat old {};
    const bool exists = ::stat(target.c_str(), &old) == 0;
    file_.reset(::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC,
                       exists ? kPrivateMode : kNewFileMode));
    if (file_ && exists) copy_rights(file_.get(), old);
    return static_cast<bool>(file_);
  }

  bool write(std::string_view bytes) override {
    while (!bytes.empty()) {
      const ssize_t count = ::write(file_.get(), bytes.data(), bytes.size());
      if (count < 0 && errno == EINTR) continue;
      if (count <= 0) return false;
      bytes.remove_prefix(static_cast<std::size_t>(count));
    }
    return true;
  }

  bool flush() override { return ::fsync(file_.get()) == 0; }

  void close() override { file_.reset(); }

  Outcome replace(const path& temporary, const path& target) override {
    const bool done = may_replace(target) && ::rename(temporary.c_str(), target.c_str()) == 0;
    return done ? Outcome::kDone : Outcome::kFailed;
  }

  void sync_folder(const path& target) override {
    const path folder = target.has_parent_path() ? target.parent_path() : ".";
    const UniqueFd fd(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (fd) ::fsync(fd.get());
  }

  void discard(const path& temporary) override {
    file_.reset();
    ::unlink(temporary.c_str());
  }

 private:
  UniqueFd file_;
};

}  // namespace

std::unique_ptr<FileReplacement> system_file_replacement() {
  return std::make_unique<PosixFileReplacement>();
}

std::uint32_t current_process_id() {
  return static_cast<std::uint32_t>(::getpid());
}

bool process_is_gone(std::uint32_t process_id) {
  // 0 and what does not fit would mean whole groups of processes.
  if (process_id == 0 || process_id > static_cast<std::uint32_t>(std::numeric_limits<pid_t>::max()))
    return false;
  return ::kill(static_cast<pid_t>(process_id), 0) != 0 && errno == ESRCH;
}

}  // namespace hvt
