#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "update/manifest_source.h"

namespace hvt::test {

// How this system's library calls what can go wrong, or the beginning of it where its versions differ.
struct SystemFailures {
  std::string scheme;       // no location that may be fetched
  std::string nobody;       // nobody listens
  std::string certificate;  // not trusted, expired or another server's
  std::string redirects;    // too many
  std::string downgrade;    // a redirect from HTTPS to HTTP
  std::string cut;          // the connection ended within a body of known length
  std::string reset;        // or was torn down
  std::string no_answer;    // or ended before the headers
  std::string no_http;      // the answer is none
};
SystemFailures system_failures();

struct Answer {
  std::string path;
  std::string expected;
};
// Answers that only this system's library has to take.
std::vector<Answer> system_answers();

// Makes this process trust the authority of the test servers while it lives, for sources made by source_of().
class TrustedAuthority {
 public:
  TrustedAuthority();
  ~TrustedAuthority();
  TrustedAuthority(const TrustedAuthority&) = delete;
  TrustedAuthority& operator=(const TrustedAuthority&) = delete;

  ManifestSource source_of(const std::wstring& location) const;

 private:
  std::function<void()> remove_;
};

// Descriptors or handles that this process has open.
std::size_t open_handles();

}  // namespace hvt::test
