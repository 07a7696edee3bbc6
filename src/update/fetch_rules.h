#pragma once

#include <chrono>
#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>

#include "update/manifest_source.h"

// What every fetch_update_manifest() keeps to and says, whatever library it is made with.
namespace hvt {

inline constexpr std::chrono::milliseconds kFetchTimeout{10000};
inline constexpr long kMostRedirects = 5;
inline constexpr std::size_t kManifestLimit = 65536;

// "HalvetricSerialTest/1.0.7"
std::string user_agent();

// Whether the source lets the manifest come from there.
bool may_fetch(std::string_view scheme, std::string_view host, const ManifestSource& source);

constexpr bool is_success(long status) {
  return status >= 200 && status <= 299;
}

std::runtime_error timed_out();
std::runtime_error cancelled();
std::runtime_error manifest_too_long();
std::runtime_error refused_with(long status);
// `cause` with its number: "Windows error 12029".
std::runtime_error request_failed(const std::string& cause);

}  // namespace hvt
