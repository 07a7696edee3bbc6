#include <cstdlib>
#include <stdexcept>

#include "base/text.h"
#include "update/manifest_source.h"

namespace hvt {

// From HALVETRIC_TEST_MANIFEST_URL and, for a server with a certificate of the test's own,
// HALVETRIC_TEST_AUTHORITY. Never part of a released program.
ManifestSource manifest_source() {
  const char* const location = std::getenv("HALVETRIC_TEST_MANIFEST_URL");
  if (location == nullptr) throw std::runtime_error("HALVETRIC_TEST_MANIFEST_URL is not set.");
  ManifestSource source{.location = utf8_to_utf16(location), .plain_loopback = true, .test_authority = {}};
  if (const char* const authority = std::getenv("HALVETRIC_TEST_AUTHORITY"))
    source.test_authority = authority;
  return source;
}

}  // namespace hvt
