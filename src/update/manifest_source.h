#pragma once

#include <filesystem>
#include <string>

namespace hvt {

// Where the manifest is and who is trusted to give it. What a released program uses is an HTTPS location and
// nothing else; the other members are for tests with a server of their own.
struct ManifestSource {
  std::wstring location;
  bool plain_loopback = false;  // http:// too, to this machine only
  // A PEM file with an authority trusted besides the system's. Linux only: on Windows the system's stores
  // alone decide.
  std::filesystem::path test_authority;
};

// The source of this program. Which one is a question of the library that is linked: hvt_update_source takes
// it from the build, hvt_update_test_source from the environment.
ManifestSource manifest_source();

}  // namespace hvt
