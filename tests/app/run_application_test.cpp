#include "app/run_application.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <functional>
#include <set>
#include <stdexcept>
#include <vector>

#include "app/process.h"
#include "tests/support/folder.h"
#include "tests/support/latch.h"
#include "tests/support/recording_window.h"
#include "tests/support/time_limit.h"

// The way from the arguments to the exit code: run modes, folders, the order of the start, and what happens
// when a step fails.

namespace hvt {
namespace {

using test::Folder;

constexpr char kMarksOfStart[] =
    "main entry, process creation to main entry, Windows components loaded, window, settings loaded, "
    "settings applied, language applied, ports enumerated, window ready, ";

// A face without a screen: its window closes as soon as it is served. AddressSanitizer tells when controller
// and window go in the wrong order.
class FakeFace final : public Face {
 public:
  void prepare(RunMode mode) override {
    prepared_for.push_back(mode);
    fail_at("prepare");
  }
  std::unique_ptr<MainWindow> create_window(WindowEvents& events, const StartupMark& mark) override {
    fail_at("window");
    mark("window");
    events_ = &events;
    return std::make_unique<test::RecordingWindow>(events);
  }
  int serve(MainWindow&) override {
    fail_at("serve");
    if (person) person(*events_);
    return 7;
  }
  void show_fatal_error(const std::exception& error) override { boxes.push_back(error.what()); }

  std::string broken_step;
  std::function<void(WindowEvents&)> person;
  std::vector<RunMode> prepared_for;
  std::vector<std::string> boxes;

 private:
  WindowEvents* events_ = nullptr;

  void fail_at(std::string_view step) const {
    if (step == broken_step) throw std::runtime_error("No " + broken_step + ".");
  }
};

int no_self_test(const std::filesystem::path&, const Launch&) {
  ADD_FAILURE() << "the self-test was run";
  return -1;
}

AppServices no_ports() {
  return {.port_source = [] { return std::vector<PortDescription>(); }};
}

StartupProfile profile_if(bool wanted) {
  return {wanted ? StartupProfile::Wanted::yes : StartupProfile::Wanted::no,
          std::chrono::steady_clock::now()};
}

std::vector<std::string> lines_of(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  std::vector<std::string> lines;
  for (std::string line; std::getline(file, line);)
    lines.push_back(line);
  return lines;
}

TEST(RunMode, OnlyTheWholeWordAfterTheProgramsNameSelectsTheSelfTest) {
  const struct {
    const char* name;
    std::vector<std::wstring> arguments;
    bool self_test;
  } cases[] = {
      {"nothing", {}, false},
      {"alone", {L"--self-test-ui"}, true},
      {"last", {L"-style", L"x", L"--self-test-ui"}, true},
      {"with a suffix", {L"--self-test-ui2"}, false},
      {"with a value", {L"--self-test-ui=1"}, false},
      {"with a prefix", {L"---self-test-ui"}, false},
      {"in another case", {L"--Self-Test-UI"}, false},
      {"within another word", {L"x --self-test-ui"}, false},
  };
  for (const auto& row : cases)
    EXPECT_EQ(run_mode(row.arguments) == RunMode::self_test, row.self_test) << row.name;
}

TEST(RunApplication, ANormalRunKeepsItsDataInTheBaseFolder) {
  const Folder folder;
  FakeFace face;
  StartupProfile profile = profile_if(false);
  EXPECT_EQ(run_application(RunMode::normal, {folder.path(), {}}, profile, face, no_self_test), 7);
  EXPECT_EQ(face.prepared_for, std::vector{RunMode::normal});
  EXPECT_EQ(folder.names(), "config ") << "no profile, no run folder";
}

TEST(RunApplication, ANormalRunNotesItsErrorsAndLooksForANewerRelease) {
  const Folder folder;
  test::write_file(folder.path() / "recording", "in the way of the folder");
  test::Latch asked(1);
  FakeFace face;
  face.person = [&](WindowEvents& events) {
    const test::TimeLimit limit("the look for a newer release", [&] { asked.count_down(); });
    asked.wait();
    events.command(ControlId::open_folder);
  };
  StartupProfile profile = profile_if(false);
  const std::filesystem::path log = folder.path() / "log" / "error.log";
  run_application(RunMode::normal, {folder.path(), log}, profile, face, no_self_test,
                  [&](CancelSignal&) -> std::string {
                    asked.count_down();
                    throw std::runtime_error("Update request failed.");
                  });
  const auto lines = lines_of(log);
  ASSERT_EQ(lines.size(), 1u) << "a look that fails is no error of the line or of a file";
  EXPECT_TRUE(lines[0].ends_with(" Could not open the folder.\r")) << lines[0];
}

TEST(RunApplication, EachSelfTestRunHasAFolderOfItsOwn) {
  const Folder folder;
  std::set<std::filesystem::path> runs;
  const SelfTest self_test = [&](const std::filesystem::path& run_folder, const Launch& launch) {
    EXPECT_TRUE(std::filesystem::is_directory(run_folder));
    EXPECT_EQ(run_folder.parent_path(), folder.path() / "ui-test-artifacts");
    EXPECT_EQ(run_folder.filename().string().rfind("run_", 0), 0u);
    EXPECT_TRUE(run_folder.filename().string().ends_with("_" + std::to_string(process_id())));
    runs.insert(run_folder);
    EXPECT_EQ(launch(run_folder, no_ports())->serve(), 7);
    EXPECT_EQ(launch(run_folder, no_ports())->serve(), 7) << "a second window, on the settings of the first";
    EXPECT_TRUE(std::filesystem::exists(run_folder / "config" / "settings.json"));
    return 3;
  };
  for (int run = 0; run < 2; ++run) {
    const auto uptime = system_uptime();
    FakeFace face;
    StartupProfile profile = profile_if(false);
    EXPECT_EQ(run_application(RunMode::self_test, {folder.path(), {}}, profile, face, self_test), 3);
    EXPECT_EQ(face.prepared_for, std::vector{RunMode::self_test});
    while (system_uptime() == uptime) {  // the name's resolution; both runs are this very process
    }
  }
  EXPECT_EQ(folder.names(), "ui-test-artifacts ") << "the person's own data was touched";
}

TEST(RunApplication, TheProfileNamesTheStepsInTheirOrder) {
  const Folder folder;
  FakeFace face;
  StartupProfile profile = profile_if(true);
  run_application(RunMode::normal, {folder.path() / "not there yet", {}}, profile, face, no_self_test);
  std::string names;
  double last = 0;
  for (const std::string& line : lines_of(folder.path() / "not there yet" / "startup-profile.txt")) {
    const std::size_t colon = line.find(": ");
    ASSERT_NE(colon, line.npos) << line;
    EXPECT_TRUE(line.ends_with(" ms")) << line;
    const std::string name = line.substr(0, colon);
    names += name + ", ";
    const double milliseconds = std::stod(line.substr(colon + 2));
    EXPECT_GE(milliseconds, 0) << line;
    if (name == "process creation to main entry") continue;
    EXPECT_GE(milliseconds, last) << line;
    last = milliseconds;
  }
  EXPECT_EQ(names, kMarksOfStart);
}

TEST(RunApplication, AProfileThatCannotBeWrittenIsNoFailure) {
  const Folder folder;
  std::filesystem::create_directory(folder.path() / "startup-profile.txt");
  FakeFace face;
  StartupProfile profile = profile_if(true);
  EXPECT_EQ(run_application(RunMode::normal, {folder.path(), {}}, profile, face, no_self_test), 7);
}

TEST(RunProgram, WhatEndsItIsShownInANormalRunOnlyAndTheExitCodeIsOne) {
  for (const bool self_test : {false, true}) {
    FakeFace face;
    face.broken_step = "prepare";
    std::vector<std::wstring> arguments;
    if (self_test) arguments.push_back(L"--self-test-ui");
    testing::internal::CaptureStderr();
    EXPECT_EQ(run_program(arguments, face, no_self_test, {}), 1);
    const std::string written = testing::internal::GetCapturedStderr();
    EXPECT_EQ(face.boxes, self_test ? std::vector<std::string>() : std::vector<std::string>{"No prepare."});
    EXPECT_EQ(written, self_test ? "HalvetricSerialTest: No prepare.\n" : "");
  }
}

TEST(RunApplication, AFailureInAnyStepGetsOut) {
  for (const char* step : {"prepare", "window", "serve"}) {
    const Folder folder;
    FakeFace face;
    face.broken_step = step;
    StartupProfile profile = profile_if(false);
    EXPECT_THROW(run_application(RunMode::normal, {folder.path(), {}}, profile, face, no_self_test),
                 std::runtime_error)
        << step;
  }
}

TEST(Process, IsOlderThanNothingAndYoungerThanTheSystem) {
  const auto age = process_age();
  ASSERT_TRUE(age);
  EXPECT_GE(age->count(), 0);
  EXPECT_LT(*age, system_uptime());
}

}  // namespace
}  // namespace hvt
