#include "tests/support/device_process.h"

#include <spawn.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <stdexcept>

namespace hvt::test {

PrivateRuntimeFolder::PrivateRuntimeFolder() {
  std::string name = (std::filesystem::temp_directory_path() / "hvt-test-XXXXXX").string();
  if (!::mkdtemp(name.data())) throw std::runtime_error("no folder to be had");
  path_ = name;
  ::setenv("XDG_RUNTIME_DIR", name.c_str(), 1);
}

DeviceProcess::DeviceProcess(std::vector<std::string> arguments) {
  std::array<int, 2> to{};
  std::array<int, 2> from{};
  if (::pipe(to.data()) != 0 || ::pipe(from.data()) != 0) throw std::runtime_error("no pipe to be had");
  const UniqueFd its_input(to[0]);
  const UniqueFd its_output(from[1]);
  input_ = UniqueFd(to[1]);
  output_ = UniqueFd(from[0]);
  posix_spawn_file_actions_t actions;
  ::posix_spawn_file_actions_init(&actions);
  ::posix_spawn_file_actions_adddup2(&actions, to[0], STDIN_FILENO);
  ::posix_spawn_file_actions_adddup2(&actions, from[1], STDOUT_FILENO);
  for (const int fd : {to[0], to[1], from[0], from[1]})
    ::posix_spawn_file_actions_addclose(&actions, fd);
  arguments.insert(arguments.begin(), HVT_VIRTUAL_DEVICE);
  std::vector<char*> values;
  for (std::string& argument : arguments)
    values.push_back(argument.data());
  values.push_back(nullptr);
  const int failed = ::posix_spawn(&process_, HVT_VIRTUAL_DEVICE, &actions, nullptr, values.data(), environ);
  ::posix_spawn_file_actions_destroy(&actions);
  if (failed != 0) throw std::runtime_error("the virtual device does not start");
}

DeviceProcess::~DeviceProcess() {
  tell("quit");
  ::waitpid(process_, nullptr, 0);
}

bool DeviceProcess::tell(const std::string& command) {
  const std::string line = command + '\n';
  return ::write(input_.get(), line.data(), line.size()) == static_cast<ssize_t>(line.size());
}

std::string DeviceProcess::line(const std::string& word) {
  std::string text;
  char c = 0;
  while (::read(output_.get(), &c, 1) == 1) {
    if (c != '\n') {
      text += c;
    } else if (text.starts_with(word)) {
      return text;
    } else {
      text.clear();
    }
  }
  return {};
}

}  // namespace hvt::test
