// Risk: a switch of language or theme leaves something behind in the old one, changes a value, or is not
// kept; a check for updates disturbs the program; a small screen hides what a person needs.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <condition_variable>
#include <mutex>

#include "settings/app_settings.h"
#include "tests/app/program.h"
#include "update/version.h"

namespace hvt {
namespace {

using test::Program;
using testing::ElementsAre;

AppSettings saved(const Program& program) {
  return load_settings(settings_path(program.folder.path())).settings;
}

std::vector<std::wstring> captions(const Program& program) {
  std::vector<std::wstring> all;
  for (const ControlRow& row : kControls) {
    const ControlState& state = program.window.state(row.id);
    all.insert(all.end(), {std::wstring(state.caption), std::wstring(state.tip), std::wstring(state.name)});
  }
  for (const MenuItemState& item : program.window.menus)
    all.emplace_back(item.caption);
  return all;
}

TEST(Language, ASwitchChangesTextsAndNothingElseAndIsKeptAtOnce) {
  Program program;
  program.open_transmit(L"PING");
  program.window.choose(ControlId::parity, 1);
  program.window.choose(ControlId::baud, 11);
  program.connect();
  program.feed("answer");
  ASSERT_TRUE(program.until([&] { return program.window.shown() == L"[RX] answer"; }));
  program.app.menu_chosen(MenuItem::usage);
  for (int twice = 0; twice < 2; ++twice)
    program.press(ControlId::always_on_top);  // saves
  const auto english = captions(program);
  const AppSettings before = saved(program);

  program.app.menu_chosen(MenuItem::korean);
  EXPECT_EQ(program.window.state(ControlId::refresh).caption, L"새로 고침");
  EXPECT_EQ(program.chosen(ControlId::parity), L"홀수");
  EXPECT_EQ(program.chosen(ControlId::baud), L"921600");
  EXPECT_EQ(program.window.status(), L"COM8에 연결됨");
  EXPECT_EQ(program.window.counter(ControlId::line_count), L"줄 수 : 1");
  EXPECT_EQ(program.window.dialogs.at(DialogId::usage).title, L"사용법");
  EXPECT_EQ(program.window.dialogs.size(), 1u) << "closed dialogs stay closed";
  EXPECT_EQ(program.window.shown(), L"[RX] answer");
  EXPECT_EQ(program.window.field_text(packet_field(0)), L"PING");
  AppSettings expected = before;
  expected.language = L"Korean";
  EXPECT_EQ(saved(program), expected);
  program.press(ControlId::record);
  EXPECT_THAT(program.window.status(), testing::HasSubstr(L"921600"));

  program.app.menu_chosen(MenuItem::english);
  EXPECT_EQ(program.chosen(ControlId::parity), L"Odd");
  program.press(ControlId::record);
  EXPECT_TRUE(program.until([&] { return !program.records(); }));
  EXPECT_EQ(captions(program), english);
}

TEST(Language, AnErrorOnTheStatusLineFollows) {
  Program program;
  program.press(ControlId::transmit);
  program.connect();
  program.send();
  EXPECT_EQ(program.window.status(), L"The send data is empty.");
  program.app.menu_chosen(MenuItem::korean);
  EXPECT_EQ(program.window.status(), L"송신 데이터가 비어 있습니다.");
  EXPECT_EQ(program.window.tone(), StatusTone::error);
}

TEST(Language, ReachesTheListThatHasNoPort) {
  Program program({.ports = [] { return std::vector<PortDescription>(); }});
  program.app.menu_chosen(MenuItem::korean);
  EXPECT_EQ(program.window.choice(ControlId::port).placeholder, L"사용 가능한 COM 포트 없음");
}

TEST(Theme, TheChoiceRulesAndOnlySystemFollowsTheDesktop) {
  Program program;
  const auto dark = [&] { return program.window.themes.back().dark; };
  ASSERT_EQ(program.window.themes.size(), 1u);
  EXPECT_FALSE(dark());
  const auto desktop_turns = [&](bool to_dark) {
    program.window.prefers_dark = to_dark;
    program.app.appearance_changed();
  };
  desktop_turns(true);
  EXPECT_TRUE(dark());
  program.app.menu_chosen(MenuItem::theme_light);
  EXPECT_FALSE(dark());
  EXPECT_EQ(saved(program).theme, L"Light");
  desktop_turns(false);
  desktop_turns(true);
  program.app.menu_chosen(MenuItem::theme_light);
  EXPECT_EQ(program.window.themes.size(), 3u) << "the same again costs nothing";
  program.app.menu_chosen(MenuItem::theme_dark);
  desktop_turns(false);
  EXPECT_TRUE(dark());
  EXPECT_EQ(program.window.themes.size(), 4u);
  program.app.menu_chosen(MenuItem::theme_system);
  EXPECT_FALSE(dark());
  EXPECT_EQ(saved(program).theme, L"System");
  program.window.colors[0] = {1, 2, 3};
  program.app.appearance_changed();
  EXPECT_EQ(program.window.themes.back()[ThemeColor::window], (Rgb{1, 2, 3})) << "light is the desktop's";
}

TEST(Theme, AFailureKeepsTheOldLookAndTheOldChoice) {
  Program program;
  program.app.menu_chosen(MenuItem::theme_light);
  program.window.refuses_theme = true;
  program.app.menu_chosen(MenuItem::theme_dark);
  EXPECT_EQ(program.window.status(), L"Could not change the theme. Could not create theme brushes.");
  EXPECT_TRUE(program.window.menus[index_of(MenuItem::theme_light)].checked);
  EXPECT_EQ(saved(program).theme, L"Light");
  program.window.refuses_theme = false;
  program.app.menu_chosen(MenuItem::theme_dark);
  EXPECT_TRUE(program.window.themes.back().dark);
}

TEST(WindowChoices, FontAndAlwaysOnTopAreKeptAtOnceAndComeBack) {
  test::Folder folder;
  {
    Program program({.folder = folder.path()});
    EXPECT_EQ(program.window.receive_view().points, 10);
    program.window.choose(ControlId::font_size, 16);
    EXPECT_EQ(program.window.receive_view().points, 24);
    EXPECT_EQ(load_settings(settings_path(folder.path())).settings.receive_font_size, 24);
    program.press(ControlId::always_on_top);
    EXPECT_TRUE(program.window.on_top);
    EXPECT_EQ(program.window.state(ControlId::always_on_top).caption, L"Always on top: On");
    EXPECT_TRUE(load_settings(settings_path(folder.path())).settings.always_on_top);
    program.app.menu_chosen(MenuItem::theme_dark);
  }
  Program again({.folder = folder.path()});
  EXPECT_EQ(again.window.receive_view().points, 24);
  EXPECT_TRUE(again.window.on_top);
  EXPECT_TRUE(again.window.themes.back().dark);
  again.press(ControlId::always_on_top);
  EXPECT_FALSE(again.window.on_top);
}

// A server that gives its answer when the test lets it.
class Server {
 public:
  explicit Server(std::string answer) : answer_(std::move(answer)) {}

  StartupUpdateCheck::Fetch fetch() {
    return [this](CancelSignal& cancel) {
      const CancelSignal::Wake wake(cancel, [this] { answer(); });
      std::unique_lock lock(mutex_);
      asked_ = true;
      changed_.notify_all();
      changed_.wait(lock, [&] { return answers_ || cancel.cancelled(); });
      if (cancel.cancelled() || answer_.empty()) throw std::runtime_error("Update request timed out.");
      return answer_;
    };
  }
  void answer() {
    {
      const std::lock_guard lock(mutex_);
      answers_ = true;
    }
    changed_.notify_all();
  }
  void wait_until_asked() {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return asked_; });
  }
  // By the test, or by a check that was cancelled.
  bool has_answered() {
    const std::lock_guard lock(mutex_);
    return answers_;
  }

 private:
  const std::string answer_;
  std::mutex mutex_;
  std::condition_variable changed_;
  bool asked_ = false;
  bool answers_ = false;
};

std::wstring all_lines(const DialogContent& content) {
  std::wstring text;
  for (const DialogLine& line : content.lines)
    text += line.text + L"|";
  return text;
}

TEST(Update, EachOutcomeIsToldAndOnlyANewerReleaseShowsTheBadge) {
  struct Case {
    const char* name;
    const char* manifest;
    const wchar_t* lines;
    bool badge;
  };
  const Case cases[]{
      {"newer", R"({"latestVersion":"9.0","releaseDate":"2031-02-03"})",
       L"A new version is available.|Current version: 1.0.7.0|Latest version: 9.0.0.0|Release date: "
       L"2031-02-03|",
       true},
      {"equal", R"({"latestVersion":"1.0.7"})",
       L"You are using the latest version.|Current version: 1.0.7.0|Latest version: 1.0.7.0|Release date: —|",
       false},
      {"older", R"({"latestVersion":"1.0.6.9"})",
       L"Your version is newer than the published release.|Current version: 1.0.7.0|Latest version: 1.0.6.9|"
       L"Release date: —|",
       false},
      {"broken", "{",
       L"Unable to check for updates.|Current version: 1.0.7.0|Latest version: —|Release date: —|", false},
      {"unreachable", "",
       L"Unable to check for updates.|Current version: 1.0.7.0|Latest version: —|Release date: —|", false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    Server server(c.manifest);
    Program program({.fetch_manifest = server.fetch()});
    program.app.menu_chosen(MenuItem::check_updates);
    const auto shown = [&] { return all_lines(program.window.dialogs.at(DialogId::update)); };
    EXPECT_EQ(shown(),
              L"Checking for updates...|Current version: 1.0.7.0|Latest version: —|Release date: —|");
    EXPECT_FALSE(program.window.state(ControlId::update_badge).visible);
    server.answer();
    EXPECT_TRUE(program.until([&] { return shown() == c.lines; })) << testing::PrintToString(shown());
    EXPECT_EQ(program.window.state(ControlId::update_badge).visible, c.badge);
    EXPECT_EQ(program.window.state(ControlId::update_badge).enabled, c.badge);
    EXPECT_EQ(program.window.dialogs.at(DialogId::update).link.empty(), !c.badge);
    program.app.menu_chosen(MenuItem::korean);
    EXPECT_THAT(shown(), testing::HasSubstr(L"현재 버전: 1.0.7.0"));
    program.app.menu_chosen(MenuItem::check_updates);
    EXPECT_THAT(shown(), testing::HasSubstr(L"업데이트를 확인하는 중...")) << "again";
    EXPECT_EQ(program.window.state(ControlId::update_badge).visible, c.badge) << "until it is known";
  }
}

TEST(Update, IsLookedForAtTheStartAndWheneverAPersonAsks) {
  Server server(R"({"latestVersion":"9.0"})");
  server.answer();
  Program program({.fetch_manifest = server.fetch()});
  EXPECT_TRUE(program.until([&] { return program.window.state(ControlId::update_badge).visible; }));
  EXPECT_TRUE(program.window.dialogs.empty()) << "nobody asked";
  for (int twice = 0; twice < 2; ++twice) {
    program.app.menu_chosen(MenuItem::check_updates);
    const auto headline = [&] { return program.window.dialogs.at(DialogId::update).lines.front().text; };
    EXPECT_TRUE(program.until([&] { return headline() == L"A new version is available."; }));
    EXPECT_TRUE(program.window.state(ControlId::update_badge).visible);
  }
}

TEST(Link, ThatCannotBeOpenedIsTold) {
  Program program;
  program.app.menu_chosen(MenuItem::homepage);
  EXPECT_EQ(program.window.status(), L"Ready");
  program.window.refuses_to_open = true;
  program.app.dialog_link(DialogId::about);
  EXPECT_EQ(program.window.status(), L"Could not open the link.");
  EXPECT_EQ(program.window.opened.size(), 2u);
}

TEST(Update, ACheckInFlightDoesNotDelayTheEnd) {
  Server server("");
  const auto start = std::chrono::steady_clock::now();
  {
    Program program({.fetch_manifest = server.fetch()});
    server.wait_until_asked();
    program.app.closing();
    EXPECT_TRUE(server.has_answered()) << "the check goes before the window that it would report to";
  }
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5)) << "nobody answers";
}

TEST(Screen, LimitsTheWindowButNeverFoldsOrShrinksItsContents) {
  test::Folder folder;
  { Program first({.folder = folder.path()}); }
  AppSettings settings = load_settings(settings_path(folder.path())).settings;
  settings.transmit_enabled = true;
  save_settings(settings_path(folder.path()), settings);
  Program program({.folder = folder.path()});
  program.window.screen = {1366, 728};
  EXPECT_LE(program.app.minimum_client_size(600).height, 728);
  program.window.screen = {480, 728};
  EXPECT_EQ(program.app.minimum_client_size(600).width, 480);
  program.window.screen = {1366, 728};
  program.window.resize({600, 500});
  program.press(ControlId::transmit);
  EXPECT_EQ(program.window.placement()[index_of(ControlId::receive_view)].width, 600 - 16);
  program.press(ControlId::transmit);  // 940 do not fit: the next wider arrangement is taken
  EXPECT_GE(program.window.placement()[index_of(ControlId::receive_view)].width, 700 - 16);
  EXPECT_TRUE(program.window.state(ControlId::transmit).checked);
}

}  // namespace
}  // namespace hvt
