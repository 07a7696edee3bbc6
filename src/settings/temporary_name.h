#pragma once

#include <filesystem>

#include "settings/file_replacement.h"

namespace hvt {

// A name beside the target that no other write of this process or of another running one has:
// "settings.json.tmp.4711.1", from the process and a counter of this process.
std::filesystem::path next_temporary_name(const std::filesystem::path& target);

// Removes the temporary files of this target whose writers have ended without doing so. Those of running
// processes stay. What cannot be listed or removed stays too, for another time.
void remove_abandoned_temporaries(const std::filesystem::path& target);

}  // namespace hvt
