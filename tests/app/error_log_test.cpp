#include "app/error_log.h"

#include <gtest/gtest.h>

#include <chrono>
#include <fstream>
#include <iterator>
#include <sstream>
#include <vector>

#include "app/app.h"
#include "tests/support/folder.h"
#include "tests/support/recording_window.h"

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

// The program on a window double whose port cannot be opened.
struct Program {
  Program()
      : app(folder.path(),
            {.factory =
                 [](const auto&, std::wstring& error) {
                   error = L"Access is denied.";
                   return std::shared_ptr<SerialTransport>();
                 },
             .port_source =
                 [] {
                   return std::vector<PortDescription>{{L"COM8", L""}};
                 },
             .log_error = [this](std::wstring_view message) { logged.emplace_back(message); }}),
        window(app) {
    app.attach(window);
  }
  ~Program() {
    app.closing();
    app.detach();
  }

  const Folder folder;
  std::vector<std::wstring> logged;
  App app;
  test::RecordingWindow window;
};

TEST(ErrorLog, TellsOfErrorsOfTheLineAndOfFilesButNotOfWhatAPersonTyped) {
  Program program;
  program.app.command(ControlId::transmit);
  program.app.send(0);
  EXPECT_EQ(program.window.status(), L"Connect to a COM port first.");
  program.app.command(ControlId::record);
  EXPECT_TRUE(program.logged.empty()) << "both are refusals";

  program.app.connect();
  const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (program.logged.empty() && std::chrono::steady_clock::now() < limit)
    program.window.deliver();
  EXPECT_EQ(program.logged, std::vector<std::wstring>{L"Access is denied."});

  program.window.chosen_file = program.folder.path() / "missing.json";
  program.app.command(ControlId::load_packets);
  ASSERT_EQ(program.logged.size(), 2u);
  EXPECT_EQ(program.logged.back(), program.window.status());

  test::write_file(program.folder.path() / "recording", "in the way of the folder");
  program.app.command(ControlId::open_folder);
  EXPECT_EQ(program.logged.size(), 3u);
}

}  // namespace
}  // namespace hvt
