#pragma once

#include <string>
#include <string_view>

#include "update/version.h"

namespace hvt {

// What a check for a newer release came to.
struct UpdateResult {
  bool succeeded = false;
  Version latest;             // the published release, when it succeeded
  std::wstring release_date;  // as published; empty when the manifest names none
  std::string failure;        // why it did not succeed, English

  bool operator==(const UpdateResult&) const = default;
};

// The manifest of the latest release: a JSON object with "latestVersion" and perhaps "releaseDate".
//
// Throws std::runtime_error: "Invalid latestVersion.", "Invalid releaseDate.", "Expected a JSON object.", or
// what parse_json_document() says.
UpdateResult parse_update_manifest(std::string_view bytes);

}  // namespace hvt
