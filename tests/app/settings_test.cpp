// Risk: a preference is lost between two runs, a damaged file stops the start, a failed load changes a row.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <limits>
#include <map>
#include <string>

#include "app/app.h"
#include "settings/app_settings.h"
#include "settings/send_preset.h"
#include "tests/support/folder.h"
#include "tests/support/recording_window.h"
#include "ui/choices.h"

namespace hvt {
namespace {

using test::Folder;
using test::RecordingWindow;

// One run of the program on the folder's settings.
struct Session {
  explicit Session(
      const Folder& folder, PortSource ports =
                                [] {
                                  return std::vector<PortDescription>{{L"COM8", L""}, {L"COM9", L"CP210x"}};
                                })
      : app(folder.path(), {.port_source = std::move(ports)}), window(app) {
    app.attach(window);
  }
  ~Session() {
    app.closing();
    app.detach();
  }
  std::wstring chosen(ControlId id) {
    const auto& choice = window.choice(id);
    return choice.selected ? choice.entries.at(*choice.selected) : std::wstring();
  }
  App app;
  RecordingWindow window;
};

std::string file_text(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

// Every check and radio, every field and choice that a person can reach.
void change_everything(Session& run) {
  for (const ControlId id :
       {ControlId::line_break, ControlId::hide_crlf, ControlId::echo_sent, ControlId::receive_hex,
        ControlId::transmit, ControlId::send_hex, ControlId::auto_crlf, ControlId::wait_for_rx,
        ControlId::display_while_recording})
    run.app.command(id);
  for (const ControlRow& row : kControls) {
    if (row.kind == ControlKind::choice)
      run.window.choose(row.id, run.window.choice(row.id).entries.size() - 1);
    if (row.kind == ControlKind::number_edit)
      run.window.type(row.id, L"7\"" + std::to_wstring(index_of(row.id)));
    if (row.kind == ControlKind::packet_edit)
      run.window.type(row.id, L"\\x1B<ESC>\t\xD55C" + std::to_wstring(index_of(row.id)));
  }
}

TEST(Settings, EveryControlIsAsItWasLeft) {
  const Folder folder;
  ControlStates states;
  std::map<ControlId, std::wstring> fields;
  {
    Session run(folder);
    change_everything(run);
    run.window.set_place({{11, 22, 777, 666}, true});
    for (const ControlRow& row : kControls) {
      states[index_of(row.id)] = run.window.state(row.id);
      fields[row.id] = row.kind == ControlKind::choice ? run.chosen(row.id) : run.window.field_text(row.id);
    }
  }
  Session again(folder);
  for (const ControlRow& row : kControls) {
    EXPECT_TRUE(again.window.state(row.id) == states[index_of(row.id)]) << row.name;
    EXPECT_EQ(row.kind == ControlKind::choice ? again.chosen(row.id) : again.window.field_text(row.id),
              fields[row.id])
        << row.name;
  }
  const WindowPlace place = again.window.current_place();
  EXPECT_EQ(place.normal, (Rect{11, 22, 777, 666}));
  EXPECT_TRUE(place.maximized);
}

TEST(Settings, AValueThatNoListHasIsShownAndKept) {
  const Folder folder;
  AppSettings settings;
  settings.baud_rate = L"250000";
  settings.parity = L"Sideways";
  settings.port_name = L"COM7";
  save_settings(settings_path(folder.path()), settings);
  {
    Session run(folder);
    EXPECT_EQ(run.chosen(ControlId::baud), L"250000");
    EXPECT_EQ(run.chosen(ControlId::port), L"COM8");  // the first one instead of a missing one
    run.window.choose(ControlId::baud, 0);
    run.window.choose(ControlId::baud, kBaudRates.size());
    EXPECT_EQ(run.chosen(ControlId::baud), L"250000");
  }
  const AppSettings saved = load_settings(settings_path(folder.path())).settings;
  EXPECT_EQ(saved.baud_rate, L"250000");
  EXPECT_EQ(saved.parity, L"Sideways");
  EXPECT_EQ(saved.port_name, L"COM8");
}

TEST(Settings, AMissingAdapterDoesNotCostTheSavedPort) {
  const Folder folder;
  AppSettings settings;
  settings.port_name = L"COM7";
  save_settings(settings_path(folder.path()), settings);
  {
    Session run(folder, [] { return std::vector<PortDescription>(); });
  }
  EXPECT_EQ(load_settings(settings_path(folder.path())).settings.port_name, L"COM7");
}

TEST(Settings, WhatNoControlShowsIsKept) {
  const Folder folder;
  AppSettings settings;
  settings.theme = L"Dark";
  settings.always_on_top = true;
  settings.receive_font_size = 17;
  save_settings(settings_path(folder.path()), settings);
  { Session run(folder); }
  const AppSettings saved = load_settings(settings_path(folder.path())).settings;
  EXPECT_EQ(saved.theme, settings.theme);
  EXPECT_EQ(saved.always_on_top, settings.always_on_top);
  EXPECT_EQ(saved.receive_font_size, settings.receive_font_size);
}

TEST(Settings, ADamagedFileIsLeftAloneUntilTheNextSave) {
  const Folder folder;
  std::filesystem::create_directories(settings_path(folder.path()).parent_path());
  test::write_file(settings_path(folder.path()), "{ broken");
  {
    Session run(folder);
    EXPECT_EQ(run.window.field_text(ControlId::repeat_count), L"3");
    EXPECT_TRUE(run.window.notices().empty());
    EXPECT_EQ(file_text(settings_path(folder.path())), "{ broken");
  }
  AppSettings expected;
  expected.window_left = expected.window_top = expected.window_width = expected.window_height = 0;
  expected.port_name = L"COM8";
  EXPECT_EQ(load_settings(settings_path(folder.path())).settings, expected);
}

TEST(Settings, APlaceBeyondEveryScreenIsOneThatCanBeCalculatedWith) {
  const Folder folder;
  AppSettings settings;
  settings.window_left = settings.window_width = std::numeric_limits<std::int32_t>::max();
  settings.window_top = std::numeric_limits<std::int32_t>::min();
  save_settings(settings_path(folder.path()), settings);
  Session run(folder);
  EXPECT_EQ(run.window.current_place().normal, (Rect{32'767, -32'767, 32'767, 800}));
}

TEST(Settings, AFailedSaveIsToldAndTheProgramCloses) {
  const Folder folder;
  test::write_file(folder.path() / "config", "in the way");
  Session run(folder);
  run.app.closing();
  run.app.closing();  // asked again, it is not saved again
  ASSERT_EQ(run.window.notices().size(), 1u);
  EXPECT_TRUE(run.window.notices()[0].second.starts_with(L"Could not save settings.\n"));
}

TEST(Settings, ABufferSizeIsSavedAtOnce) {
  const Folder folder;
  Session run(folder);
  run.window.type(packet_field(0), L"typed meanwhile");
  run.window.choose(ControlId::baud, 0);
  EXPECT_FALSE(std::filesystem::exists(settings_path(folder.path())));
  run.window.choose(ControlId::buffer_size, 2);
  const AppSettings saved = load_settings(settings_path(folder.path())).settings;
  EXPECT_EQ(saved.receive_buffer_size_mb, 3);
  EXPECT_EQ(saved.send_items[0], L"typed meanwhile");
}

TEST(Presets, AreSavedAndLoadedAndAFailureChangesNoRow) {
  const Folder folder;
  Session run(folder);
  run.window.type(packet_field(0), L"first");
  run.window.chosen_file = folder.path() / "a.json";
  run.app.command(ControlId::save_packets);
  ASSERT_EQ(run.window.asked.size(), 1u);
  EXPECT_TRUE(run.window.asked[0].save);
  EXPECT_EQ(run.window.asked[0].proposed_name, L"serial-send-presets-01.json");
  EXPECT_TRUE(std::filesystem::is_directory(run.window.asked[0].folder));

  run.window.type(packet_field(0), L"second");
  run.window.type(packet_field(9), L"last");
  run.app.command(ControlId::load_packets);
  EXPECT_EQ(run.window.field_text(packet_field(0)), L"first");
  EXPECT_EQ(run.window.field_text(packet_field(9)), L"");

  test::write_file(folder.path() / "a.json", R"({"Items": null})");
  run.app.command(ControlId::load_packets);
  EXPECT_EQ(run.window.status(), L"Expected an array of send strings.");
  EXPECT_EQ(run.window.field_text(packet_field(0)), L"first");

  run.window.chosen_file.reset();  // cancelled
  run.window.set_status(L"before", StatusTone::plain);
  run.app.command(ControlId::load_packets);
  run.app.command(ControlId::save_packets);
  EXPECT_EQ(run.window.status(), L"before");
}

TEST(Presets, AKoreanIsToldInKoreanWhatIsWrongWithAFile) {
  const Folder folder;
  AppSettings settings;
  settings.language = L"Korean";
  save_settings(settings_path(folder.path()), settings);
  Session run(folder);
  run.window.chosen_file = folder.path() / "a.json";
  const auto told_in_korean = [&] {
    run.window.set_status(L"", StatusTone::plain);
    run.app.command(ControlId::load_packets);
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
