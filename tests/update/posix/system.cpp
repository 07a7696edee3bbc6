#include "tests/update/system.h"

#include <cstdlib>
#include <filesystem>
#include <iterator>

namespace hvt::test {
namespace {

std::string failure(int code) {
  return "Update request failed (curl error " + std::to_string(code) + ").";
}

}  // namespace

SystemFailures system_failures() {
  return {
      .scheme = failure(1),
      .nobody = failure(7),
      .certificate = failure(60),
      .redirects = failure(47),
      .downgrade = failure(1),
      .cut = failure(18),
      .reset = failure(56),
      .no_answer = failure(52),
      .no_http = failure(1),
  };
}

std::vector<Answer> system_answers() {
  return {
      {"/status/302", "Update server returned HTTP 302"},
      {"/status-and-stall/302", "Update server returned HTTP 302"},
      {"/to-file", failure(1)},
      {"/endless-headers", failure(23)},
      {"/endless-interim", failure(23)},
  };
}

TrustedAuthority::TrustedAuthority() : remove_([] {}) {}

TrustedAuthority::~TrustedAuthority() {
  remove_();
}

ManifestSource TrustedAuthority::source_of(const std::wstring& location) const {
  return {.location = location, .plain_loopback = true, .test_authority = std::getenv("HVT_AUTHORITY")};
}

std::size_t open_handles() {
  const std::filesystem::directory_iterator descriptors("/proc/self/fd");
  return static_cast<std::size_t>(std::distance(begin(descriptors), end(descriptors)));
}

}  // namespace hvt::test
