#include "serial/posix/user_ports.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <stdexcept>
#include <utility>

#include "base/posix/error_text.h"
#include "base/text.h"

namespace hvt {
namespace {

namespace fs = std::filesystem;

// A real folder of this user, which nobody else may write to.
bool is_own_folder(const fs::path& path) {
  struct stat status {};
  return ::lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode) && status.st_uid == ::geteuid() &&
         (status.st_mode & 0022) == 0;
}

// The folders that must be this user's, from the outside in; the last one holds the links.
std::array<fs::path, 2> own_folders() {
  const char* run_time = std::getenv("XDG_RUNTIME_DIR");
  if (run_time != nullptr && fs::path(run_time).is_absolute() && is_own_folder(run_time)) {
    const fs::path base = fs::path(run_time) / "HalvetricSerialTest";
    return {base, base / "ports"};
  }
  std::error_code error;
  fs::path temporary = fs::temp_directory_path(error);
  if (error) temporary = "/tmp";
  const fs::path base = temporary / ("HalvetricSerialTest-" + std::to_string(::geteuid()));
  return {base, base / "ports"};
}

fs::path lock_file_of(const fs::path& folder, std::string_view name) {
  return folder / std::string(".").append(name).append(".lock");
}

// Record locks of the open file: they end with their owner however it ends, and can be asked for without
// being taken, so that a program that lists the ports never gets in the way of one that announces them.
struct flock whole_file(short type) {
  struct flock lock {};
  lock.l_type = type;
  lock.l_whence = SEEK_SET;
  return lock;
}

bool is_held(const fs::path& lock_file) {
  const UniqueFd file(::open(lock_file.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW));
  if (!file) return errno == ENOENT;  // nobody ever announced the link: it stands for itself
  struct flock lock = whole_file(F_RDLCK);
  return ::fcntl(file.get(), F_OFD_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
}

// The file may be removed by its last owner between being opened and being locked: then the lock is worth
// nothing, and the name is tried anew.
UniqueFd lock(const fs::path& lock_file) {
  for (;;) {
    UniqueFd file(::open(lock_file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
    struct flock lock = whole_file(F_WRLCK);
    if (!file || ::fcntl(file.get(), F_OFD_SETLK, &lock) != 0) return {};
    struct stat locked {};
    struct stat present {};
    if (::fstat(file.get(), &locked) == 0 && ::lstat(lock_file.c_str(), &present) == 0 &&
        locked.st_ino == present.st_ino)
      return file;
  }
}

[[noreturn]] void fail(const std::string& what, const fs::path& path, int code) {
  throw std::runtime_error(what + " " + path.string() + ": " + utf16_to_utf8(errno_text(code)));
}

}  // namespace

std::optional<fs::path> find_user_ports_folder() {
  const auto folders = own_folders();
  if (!std::all_of(folders.begin(), folders.end(), is_own_folder)) return {};
  return folders.back();
}

fs::path make_user_ports_folder() {
  const auto folders = own_folders();
  for (const fs::path& folder : folders) {
    if (::mkdir(folder.c_str(), 0700) != 0 && errno != EEXIST)
      fail("Could not make the folder", folder, errno);
    if (!is_own_folder(folder))
      throw std::runtime_error(folder.string() + " does not belong to this user alone.");
  }
  return folders.back();
}

std::vector<std::string> listed_user_ports(const fs::path& folder) {
  std::vector<std::string> names;
  std::error_code error;
  for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
    std::error_code ignored;
    std::string name = entry->path().filename().string();
    if (!name.starts_with('.') && entry->is_symlink(ignored) && entry->is_character_file(ignored) &&
        is_held(lock_file_of(folder, name)))
      names.push_back(std::move(name));
  }
  return names;
}

std::optional<UserPort> UserPort::claim(const fs::path& folder, std::string_view name) {
  if (name.empty() || name.starts_with('.') || name.find('/') != name.npos) return {};
  const fs::path link = folder / name;
  const fs::path lock_file = lock_file_of(folder, name);
  // A link that someone made without announcing it is taken as long as it leads anywhere.
  std::error_code error;
  if (!fs::exists(lock_file, error) && fs::exists(link, error)) return {};
  UniqueFd held = lock(lock_file);
  if (!held) return {};
  return UserPort(link, lock_file, std::move(held));
}

UserPort::UserPort(fs::path link, fs::path lock_file, UniqueFd lock)
    : link_(std::move(link)), lock_file_(std::move(lock_file)), lock_(std::move(lock)) {}

UserPort::~UserPort() {
  if (!lock_) return;
  hide();
  ::unlink(lock_file_.c_str());
}

// Renamed into place, so that whoever looks sees the old target or the new one.
void UserPort::show(const fs::path& target) {
  fs::path fresh = lock_file_;
  fresh += ".new";
  ::unlink(fresh.c_str());
  if (::symlink(target.c_str(), fresh.c_str()) != 0 || ::rename(fresh.c_str(), link_.c_str()) != 0)
    fail("Could not announce the port", link_, errno);
}

void UserPort::hide() {
  ::unlink(link_.c_str());
}

}  // namespace hvt
