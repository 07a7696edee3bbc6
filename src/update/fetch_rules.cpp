#include "update/fetch_rules.h"

#include <algorithm>
#include <array>

namespace hvt {
namespace {

constexpr std::array<std::string_view, 4> kLoopback{"localhost", "127.0.0.1", "::1", "[::1]"};

}  // namespace

std::string user_agent() {
  return "HalvetricSerialTest/" HVT_VERSION;
}

bool may_fetch(std::string_view scheme, std::string_view host, const ManifestSource& source) {
  if (scheme == "https") return true;
  return scheme == "http" && source.plain_loopback &&
         std::find(kLoopback.begin(), kLoopback.end(), host) != kLoopback.end();
}

std::runtime_error timed_out() {
  return std::runtime_error("Update request timed out.");
}

std::runtime_error cancelled() {
  return std::runtime_error("Update request cancelled.");
}

std::runtime_error manifest_too_long() {
  return std::runtime_error("Update manifest exceeds 64 KiB.");
}

std::runtime_error refused_with(long status) {
  return std::runtime_error("Update server returned HTTP " + std::to_string(status));
}

std::runtime_error request_failed(const std::string& cause) {
  return std::runtime_error("Update request failed (" + cause + ").");
}

}  // namespace hvt
