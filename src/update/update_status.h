#pragma once

#include <string>

#include "update/manifest.h"
#include "update/version.h"

namespace hvt {

enum class UpdateOutcome { checking, newer, latest, ahead, failed };

// What the window shows about releases: the outcome and the two values in the update dialog, and the badge.
// Equal records look the same, so a change of the record is what the screen has to follow.
struct UpdateStatus {
  UpdateOutcome outcome = UpdateOutcome::checking;
  bool badge = false;
  std::wstring latest_version;  // empty as long as it is not known
  std::wstring release_date;    // the same

  bool operator==(const UpdateStatus&) const = default;
};

// A check began: nothing is known, and the badge stays as it is.
UpdateStatus status_while_checking(const UpdateStatus& shown);

// A check ended.
UpdateStatus status_after(const UpdateResult& result, const Version& own);

}  // namespace hvt
