#include <unistd.h>

#include <exception>
#include <filesystem>
#include <iostream>
#include <stdexcept>
#include <string_view>
#include <vector>

#include "serial/posix/user_ports.h"
#include "tools/virtual_device/device.h"
#include "tools/virtual_device/options.h"

namespace hvt::device {
namespace {

int verify(const Options& options) {
  PatternVerifier verifier(options.pattern, options.verify_start);
  std::vector<std::uint8_t> buffer(1 << 20);
  for (;;) {
    const auto count = ::read(STDIN_FILENO, buffer.data(), buffer.size());
    if (count <= 0) break;
    verifier.feed(std::span(buffer).first(static_cast<std::size_t>(count)));
  }
  verifier.finish();
  std::cout << verifier.whole_records() << " records from " << verifier.first_record() << " on are right\n";
  if (verifier.fault()) std::cout << describe(*verifier.fault()) << '\n';
  return verifier.fault() || verifier.whole_records() == 0 ? 1 : 0;
}

struct Claim {
  std::string name;
  UserPort port;
};

Claim claim_name(const std::string& wanted) {
  const auto folder = make_user_ports_folder();
  if (!wanted.empty()) {
    if (auto port = UserPort::claim(folder, wanted)) return {wanted, std::move(*port)};
    throw std::runtime_error("The name " + wanted + " is taken or cannot be used.");
  }
  constexpr int kMost = 1000;
  for (int number = 0; number < kMost; ++number) {
    const std::string name = "ttyV" + std::to_string(number);
    if (std::filesystem::exists("/dev/" + name)) continue;
    if (auto port = UserPort::claim(folder, name)) return {name, std::move(*port)};
  }
  throw std::runtime_error("All names are taken.");
}

int run(std::span<const std::string_view> arguments) {
  Options options = parse_options(arguments);
  if (options.help) {
    std::cout << kHelp;
    return 0;
  }
  if (options.verify) return verify(options);
  Claim claim = claim_name(options.name);
  Device(std::move(options), claim.name, std::move(claim.port), std::cout).run();
  return 0;
}

}  // namespace
}  // namespace hvt::device

int main(int count, char** values) {
  try {
    const std::vector<std::string_view> arguments(values + 1, values + count);
    return hvt::device::run(arguments);
  } catch (const std::exception& error) {
    std::cerr << "hvt-virtual-device: " << error.what() << "\nTry --help.\n";
    return 2;
  }
}
