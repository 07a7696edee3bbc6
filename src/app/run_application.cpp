#include "app/run_application.h"

#include <algorithm>
#include <iostream>
#include <utility>

#include "app/error_log.h"
#include "app/folders.h"
#include "app/process.h"

namespace hvt {
namespace {

// No two runs of the system's uptime have the same time and process.
std::filesystem::path create_run_folder(const std::filesystem::path& base_folder) {
  const std::string name =
      "run_" + std::to_string(system_uptime().count()) + "_" + std::to_string(process_id());
  const std::filesystem::path folder = base_folder / "ui-test-artifacts" / name;
  std::filesystem::create_directories(folder);
  return folder;
}

}  // namespace

RunMode run_mode(std::span<const std::wstring> arguments) {
  const bool self_test = std::find(arguments.begin(), arguments.end(), L"--self-test-ui") != arguments.end();
  return self_test ? RunMode::self_test : RunMode::normal;
}

int run_application(RunMode mode, const Places& places, StartupProfile& profile, Face& face,
                    const SelfTest& self_test, const StartupUpdateCheck::Fetch& fetch_manifest) {
  profile.mark("main entry");
  if (const auto age = process_age()) profile.add("process creation to main entry", *age);
  face.prepare(mode);
  profile.mark("Windows components loaded");  // on every system, so that profiles can be compared
  const std::filesystem::path folder =
      mode == RunMode::self_test ? create_run_folder(places.base_folder) : places.base_folder;
  const Launch launch = [&](const std::filesystem::path& data_folder, AppServices services) {
    auto session = std::make_unique<Session>(face, data_folder, std::move(services),
                                             [&](std::string_view step) { profile.mark(step); });
    profile.mark("window ready");
    profile.write_once(folder);
    return session;
  };
  if (mode == RunMode::self_test) return self_test(folder, launch);
  const ErrorLog log(places.error_log);
  AppServices services;
  services.log_error = [&](std::wstring_view message) { log.append(message); };
  services.fetch_manifest = fetch_manifest;
  return launch(folder, std::move(services))->serve();
}

int run_program(std::span<const std::wstring> arguments, Face& face, const SelfTest& self_test,
                const StartupUpdateCheck::Fetch& fetch_manifest) {
  const auto wanted = startup_profile_wanted() ? StartupProfile::Wanted::yes : StartupProfile::Wanted::no;
  StartupProfile profile(wanted, std::chrono::steady_clock::now());
  const RunMode mode = run_mode(arguments);
  try {
    return run_application(mode, {data_folder(), error_log_file()}, profile, face, self_test, fetch_manifest);
  } catch (const std::exception& error) {
    if (mode == RunMode::normal) {
      face.show_fatal_error(error);
    } else {
      std::cerr << "HalvetricSerialTest: " << error.what() << '\n';
    }
    return 1;
  }
}

}  // namespace hvt
