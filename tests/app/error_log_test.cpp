#include "app/error_log.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <sstream>
#include <vector>

#include "tests/app/program.h"
#include "tests/support/folder.h"

// What a person can send in afterwards: the lines, the file, and which errors the program puts there.

namespace hvt {
namespace {

using test::Folder;

std::string file_text(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

// Each line without its "2026-11-21 19:45:59".
std::string without_times(const std::string& text) {
  std::string rest;
  std::istringstream lines(text);
  std::string day;
  std::string time;
  for (std::string line; lines >> day >> time && std::getline(lines, line);)
    rest += line + '\n';
  return rest;
}

TEST(ErrorLog, ALineHasPlainNumbersAndUtf8) {
  EXPECT_EQ(error_log_line({2026, 3, 9, 7, 5, 0}, L"\xD55C Could not open serial port."),
            "2026-3-9 7:5:0 \xED\x95\x9C Could not open serial port.\r\n");
  EXPECT_EQ(error_log_line({2026, 11, 21, 19, 45, 59}, L"x"), "2026-11-21 19:45:59 x\r\n");
}

TEST(ErrorLog, AppendsInAFolderThatItCreates) {
  const Folder folder;
  const std::filesystem::path path = folder.path() / "a" / "b" / "error.log";
  ErrorLog(path).append(L"first");
  ErrorLog(path).append(L"\xD55C");
  const std::string text = file_text(path);
  EXPECT_EQ(without_times(text), " first\r\n \xED\x95\x9C\r\n") << text;
}

TEST(ErrorLog, WhatCannotBeWrittenIsLostWithoutAWord) {
  const Folder folder;
  test::write_file(folder.path() / "file", "");
  const std::wstring no_text(1, L'\xD800');
  EXPECT_NO_THROW(ErrorLog(folder.path() / "file" / "error.log").append(L"below a file"));
  EXPECT_NO_THROW(ErrorLog(folder.path()).append(L"a folder"));
  EXPECT_NO_THROW(ErrorLog({}).append(L"nowhere"));
  EXPECT_NO_THROW(ErrorLog(folder.path() / "error.log").append(no_text));
}

TEST(ErrorLog, TellsOfErrorsOfTheLineAndOfFilesButNotOfWhatAPersonTyped) {
  std::vector<std::wstring> logged;
  const Folder folder;
  test::Program program({.open =
                             [](const auto&, std::wstring& error) {
                               error = L"Access is denied.";
                               return std::shared_ptr<SerialTransport>();
                             },
                         .folder = folder.path(),
                         .log_error = [&](std::wstring_view message) { logged.emplace_back(message); }});
  program.press(ControlId::transmit);
  program.send();
  EXPECT_EQ(program.window.status(), L"Connect to a COM port first.");
  program.press(ControlId::record);
  EXPECT_TRUE(logged.empty()) << "both are refusals";

  program.press(ControlId::connect);
  EXPECT_TRUE(program.until([&] { return !logged.empty(); }));
  EXPECT_EQ(logged, std::vector<std::wstring>{L"Access is denied."});

  program.window.chosen_file = folder.path() / "missing.json";
  program.press(ControlId::load_packets);
  ASSERT_EQ(logged.size(), 2u);
  EXPECT_EQ(logged.back(), program.window.status());

  test::write_file(folder.path() / "recording", "in the way of the folder");
  program.press(ControlId::open_folder);
  EXPECT_EQ(logged.size(), 3u);
}

TEST(ErrorLog, TellsOfABrokenLineAndOfSettingsThatAreNotSaved) {
  std::vector<std::wstring> logged;
  const Folder folder;
  test::Program program({.folder = folder.path(),
                         .log_error = [&](std::wstring_view message) { logged.emplace_back(message); }});
  program.open_transmit(L"x");
  program.connect();
  program.fail_writes(L"The cable is out.");
  program.send();
  EXPECT_TRUE(program.until([&] { return !logged.empty(); }));
  EXPECT_EQ(logged, std::vector<std::wstring>{L"The cable is out."});

  std::filesystem::remove_all(folder.path() / "config");
  test::write_file(folder.path() / "config", "in the way of the folder");
  program.press(ControlId::always_on_top);
  ASSERT_EQ(logged.size(), 2u);
  EXPECT_TRUE(logged.back().starts_with(L"Could not save settings. "));
}

}  // namespace
}  // namespace hvt
