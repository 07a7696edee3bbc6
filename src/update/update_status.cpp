#include "update/update_status.h"

namespace hvt {

UpdateStatus status_while_checking(const UpdateStatus& shown) {
  UpdateStatus status;
  status.badge = shown.badge;
  return status;
}

UpdateStatus status_after(const UpdateResult& result, const Version& own) {
  UpdateStatus status;
  if (!result.succeeded) {
    status.outcome = UpdateOutcome::failed;
    return status;
  }
  if (result.latest > own) {
    status.outcome = UpdateOutcome::newer;
  } else {
    status.outcome = result.latest == own ? UpdateOutcome::latest : UpdateOutcome::ahead;
  }
  status.badge = status.outcome == UpdateOutcome::newer;
  status.latest_version = version_text(result.latest);
  status.release_date = result.release_date;
  return status;
}

}  // namespace hvt
