#pragma once

#include <filesystem>

#include "app/run_application.h"

namespace hvt {

// Plays every scene in the real window, and leaves in `run_folder`: results.json, a picture for each scene,
// and the data folders of the program. Returns the exit code: 0 when every scene passed.
//
// Threads   the interface thread, before any window.
// Ends      after three minutes at the latest: a run that hangs ends the process with exit code 1, after the
// results
//           so far are written.
int run_self_test(const std::filesystem::path& run_folder, const Launch& launch);

}  // namespace hvt
