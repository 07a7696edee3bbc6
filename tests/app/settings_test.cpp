// Risk: a preference is lost between two runs, a damaged file stops the start, a failed load changes a row.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <limits>
#include <string>

#include "settings/app_settings.h"
#include "settings/send_preset.h"
#include "tests/app/program.h"
#include "ui/choices.h"

namespace hvt {
namespace {

using test::Program;

// A folder with the settings of all runs in a test.
struct Settings : testing::Test {
  AppSettings saved() const { return load_settings(file).settings; }
  void save() const { save_settings(file, settings); }

  AppSettings settings;  // for the next run
  const test::Folder folder;
  const std::filesystem::path file = settings_path(folder.path());
  const test::Setup here{.folder = folder.path()};
};
using Presets = Settings;

// Neither what no control shows or no list has, nor the port of an adapter that is not there today.
TEST_F(Settings, WhatNobodyChangedIsKept) {
  settings.window_state = L"Maximized";
  settings.theme = L"Dark";
  settings.receive_font_size = 17;
  settings.baud_rate = L"250000";
  settings.port_name = L"COM7";
  settings.always_on_top = true;
  settings.parity = L"Sideways";
  save();
  {
    Program run({.ports = [] { return std::vector<PortDescription>(); }, .folder = folder.path()});
  }
  EXPECT_EQ(saved(), settings);
  {
    Program run(here);
    EXPECT_EQ(run.chosen(ControlId::port), L"COM8");  // the first one instead of a missing one
    EXPECT_EQ(run.chosen(ControlId::baud), L"250000");
    run.window.choose(ControlId::baud, 0);
    run.window.choose(ControlId::baud, kBaudRates.size());
    EXPECT_EQ(run.chosen(ControlId::baud), L"250000");
  }
  EXPECT_EQ(saved().port_name, L"COM8");
}

TEST_F(Settings, ADamagedFileIsLeftAloneUntilTheNextSave) {
  std::filesystem::create_directories(file.parent_path());
  test::write_file(file, "{ broken");
  {
    Program run(here);
    EXPECT_EQ(run.window.field_text(ControlId::repeat_count), L"3");
    EXPECT_TRUE(run.window.notices().empty());
    EXPECT_EQ(test::read_file(file), "{ broken");
  }
  AppSettings expected;
  expected.window_left = expected.window_top = expected.window_width = expected.window_height = 0;
  expected.port_name = L"COM8";
  EXPECT_EQ(saved(), expected);
}

TEST_F(Settings, APlaceBeyondEveryScreenIsOneThatCanBeCalculatedWith) {
  settings.window_left = settings.window_width = std::numeric_limits<std::int32_t>::max();
  settings.window_top = std::numeric_limits<std::int32_t>::min();
  save();
  Program run(here);
  EXPECT_EQ(run.window.current_place().normal, (Rect{32'767, -32'767, 32'767, 800}));
}

TEST_F(Settings, AFailedSaveIsToldAndTheProgramCloses) {
  test::write_file(folder.path() / "config", "in the way");
  Program run(here);
  run.app.closing();
  run.app.closing();  // asked again, it is not saved again
  ASSERT_EQ(run.window.notices().size(), 1u);
  EXPECT_TRUE(run.window.notices()[0].second.starts_with(L"Could not save settings.\n"));
}

TEST_F(Settings, ABufferSizeIsSavedAtOnce) {
  Program run(here);
  run.type(packet_field(0), L"typed meanwhile");
  run.window.choose(ControlId::baud, 0);
  EXPECT_FALSE(std::filesystem::exists(file));
  run.window.choose(ControlId::buffer_size, 2);
  const AppSettings after = saved();
  EXPECT_EQ(after.receive_buffer_size_mb, 3);
  EXPECT_EQ(after.send_items[0], L"typed meanwhile");
}

TEST_F(Presets, AreSavedAndLoadedAndAFailureChangesNoRow) {
  Program run(here);
  run.press(ControlId::transmit);
  run.type(packet_field(0), L"first");
  run.window.chosen_file = folder.path() / "a.json";
  run.press(ControlId::save_packets);
  ASSERT_EQ(run.window.asked.size(), 1u);
  EXPECT_TRUE(run.window.asked[0].save);
  EXPECT_EQ(run.window.asked[0].proposed_name, L"serial-send-presets-01.json");
  EXPECT_TRUE(std::filesystem::is_directory(run.window.asked[0].folder));

  run.type(packet_field(0), L"second");
  run.type(packet_field(9), L"last");
  run.press(ControlId::load_packets);
  EXPECT_EQ(run.window.field_text(packet_field(0)), L"first");
  EXPECT_EQ(run.window.field_text(packet_field(9)), L"");

  test::write_file(folder.path() / "a.json", R"({"Items": null})");
  run.press(ControlId::load_packets);
  EXPECT_EQ(run.window.status(), L"Expected an array of send strings.");
  EXPECT_EQ(run.window.field_text(packet_field(0)), L"first");

  run.window.chosen_file.reset();  // cancelled
  run.window.set_status(L"before", StatusTone::plain);
  run.press(ControlId::load_packets);
  run.press(ControlId::save_packets);
  EXPECT_EQ(run.window.status(), L"before");
}

TEST_F(Presets, AKoreanIsToldInKoreanWhatIsWrongWithAFile) {
  settings.language = L"Korean";
  save();
  Program run(here);
  run.press(ControlId::transmit);
  run.window.chosen_file = folder.path() / "a.json";
  const auto told_in_korean = [&] {
    run.window.set_status(L"", StatusTone::plain);
    run.press(ControlId::load_packets);
    const std::wstring told = run.window.status();
    return std::ranges::any_of(told, [](wchar_t unit) { return unit >= 0xAC00 && unit <= 0xD7A3; });
  };
  EXPECT_TRUE(told_in_korean()) << "no file";
  const std::string kDocuments[] = {
      "",
      "\xFF",
      "\"\xED\x95",
      "\xC7\xD1\xB1\xDB",  // a Korean file from before Unicode
      "\xED\xA0\x80",
      std::string(66, '['),
      "[]",
      R"({"Version":"1"})",
      R"({"Version":1.5})",
      R"({"Items":null})",
      R"({"Items":[1]})",
  };
  for (const std::string& document : kDocuments) {
    test::write_file(folder.path() / "a.json", document);
    EXPECT_TRUE(told_in_korean()) << document;
  }
}

}  // namespace
}  // namespace hvt
