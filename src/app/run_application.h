#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <span>
#include <string>

#include "app/face.h"
#include "app/run_mode.h"
#include "app/session.h"
#include "app/startup_profile.h"

namespace hvt {

// Starts the program in its window, with its data in that folder. May be called again when the session before
// has ended: in the same folder it finds the settings that were saved.
using Launch =
    std::function<std::unique_ptr<Session>(const std::filesystem::path& data_folder, AppServices services)>;

// Drives the program as a person would and returns the exit code. Everything it writes goes into
// `run_folder`, which is new and exists.
using SelfTest = std::function<int(const std::filesystem::path& run_folder, const Launch& launch)>;

// Where a run keeps its files.
struct Places {
  std::filesystem::path base_folder;  // settings, recordings, packet files, the start-up profile
  std::filesystem::path error_log;    // a file; empty for none
};

// Prepares the process, starts the program and serves it until its window closes, or has the self-test do so
// in a run folder of its own below the base folder, where nothing touches the person's data. A person's run
// looks for a newer release with `fetch_manifest`. Returns the exit code. Throws what ends the program.
int run_application(RunMode mode, const Places& places, StartupProfile& profile, Face& face,
                    const SelfTest& self_test, const StartupUpdateCheck::Fetch& fetch_manifest = {});

// The whole program, from its arguments (without its name) to its exit code: what ends it is shown in a box,
// in the self-test written to the standard error instead, and makes the exit code 1. Only standard exceptions
// are caught.
int run_program(std::span<const std::wstring> arguments, Face& face, const SelfTest& self_test,
                const StartupUpdateCheck::Fetch& fetch_manifest);

}  // namespace hvt
