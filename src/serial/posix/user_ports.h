#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/posix/unique_fd.h"

namespace hvt {

// The folder in which programs of this user announce virtual ports, as links to their terminal devices:
// HalvetricSerialTest/ports in the user's run-time folder, else in a private folder under the temporary
// directory. Empty when there is none, or when it is not this user's alone: someone else could then lead
// the user's bytes to a device of his own.
std::optional<std::filesystem::path> find_user_ports_folder();
// The same, made if necessary. Throws std::runtime_error with a sentence when it cannot be had.
std::filesystem::path make_user_ports_folder();

// The announced ports of the folder. Leaves out links that lead to no device, and those whose announcer
// ended without taking them back. Links that were never announced, only made, count as they are.
std::vector<std::string> listed_user_ports(const std::filesystem::path& folder);

// A name in the folder, held by one announcer.
//
// Promises  nobody else gets the name while it is held, shown or not; a killed announcer holds nothing.
// Threads   one.
// Owns      the lock file ".NAME.lock" and the link NAME.
// Ends      with the destructor, which removes both.
class UserPort {
 public:
  // Empty when another announcer holds the name, or something that is no link already bears it.
  static std::optional<UserPort> claim(const std::filesystem::path& folder, std::string_view name);

  UserPort(UserPort&& other) = default;
  UserPort& operator=(UserPort&&) = delete;
  ~UserPort();

  // Lists the port as a way to `target`, in place of the target before. Throws std::runtime_error.
  void show(const std::filesystem::path& target);
  void hide();

 private:
  UserPort(std::filesystem::path link, std::filesystem::path lock_file, UniqueFd lock);

  std::filesystem::path link_;
  std::filesystem::path lock_file_;
  UniqueFd lock_;
};

}  // namespace hvt
