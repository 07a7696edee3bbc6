// Risk: a control that sends, or that changes a live connection, can be reached in a state where it must not;
// a saved preference changes because something else disabled its control. The fact space is small, so it is
// walked completely.
#include "ui/state_rules.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace hvt {
namespace {

bool Facts::*const kFlags[]{&Facts::has_ports,   &Facts::receive_hex,
                            &Facts::line_break,  &Facts::hide_crlf,
                            &Facts::echo_sent,   &Facts::transmit_expanded,
                            &Facts::send_hex,    &Facts::auto_crlf,
                            &Facts::wait_for_rx, &Facts::display_while_recording,
                            &Facts::high_speed,  &Facts::paused};
// Which of these goes with which does not matter to any rule.
struct Activities {
  RepeatState repeat;
  RecordState record;
  bool newer_release;
};
constexpr Activities kActivities[]{{RepeatState::idle, RecordState::idle, false},
                                   {RepeatState::running, RecordState::idle, true},
                                   {RepeatState::idle, RecordState::running, false},
                                   {RepeatState::stopping, RecordState::draining, true}};

std::vector<Facts> all_facts() {
  std::vector<Facts> all;
  for (const Language language : {Language::english, Language::korean}) {
    for (const LinkState link : {LinkState::disconnected, LinkState::connecting, LinkState::connected}) {
      for (unsigned bits = 0; bits < std::size(kActivities) << std::size(kFlags); ++bits) {
        Facts facts;
        facts.language = language;
        facts.link = link;
        facts.repeat = kActivities[bits >> std::size(kFlags)].repeat;
        facts.record = kActivities[bits >> std::size(kFlags)].record;
        facts.newer_release = kActivities[bits >> std::size(kFlags)].newer_release;
        for (std::size_t i = 0; i < std::size(kFlags); ++i)
          facts.*kFlags[i] = (bits >> i & 1) != 0;
        all.push_back(facts);
      }
    }
  }
  return all;
}

std::string describe(const Facts& f) {
  std::string text = f.language == Language::korean ? "korean" : "english";
  text += " link=" + std::to_string(static_cast<int>(f.link)) +
          " repeat=" + std::to_string(static_cast<int>(f.repeat)) +
          " record=" + std::to_string(static_cast<int>(f.record)) + " flags=";
  for (const auto flag : kFlags)
    text += f.*flag ? '1' : '0';
  return text;
}

template <typename Check>
void for_all_facts(Check check) {
  for (const Facts& facts : all_facts()) {
    SCOPED_TRACE(describe(facts));
    check(facts, rules(facts));
    if (testing::Test::HasFailure()) return;
  }
}

const ControlState& of(const ControlStates& states, ControlId id) {
  return states[index_of(id)];
}

bool has_caption(ControlKind kind) {
  return kind == ControlKind::label || kind == ControlKind::title || is_push(kind) ||
         kind == ControlKind::name_edit;
}

TEST(StateRules, NothingThatSendsIsEnabledUnlessConnectedAndUnfolded) {
  for_all_facts([](const Facts& f, const ControlStates& states) {
    const bool may_send = f.link == LinkState::connected && f.transmit_expanded;
    const bool repeats = f.repeat != RepeatState::idle;
    for (std::size_t row = 0; row < kPacketRows; ++row) {
      EXPECT_EQ(of(states, send_button(row)).enabled, may_send && !repeats);
      EXPECT_EQ(of(states, packet_field(row)).enabled, f.transmit_expanded && !repeats);
    }
    EXPECT_EQ(of(states, ControlId::repeat).enabled, may_send);
  });
}

TEST(StateRules, ARepeatRunLocksWhatItSendsAndLeavesItsStop) {
  for_all_facts([](const Facts& f, const ControlStates& states) {
    const bool repeats = f.repeat != RepeatState::idle;
    for (const ControlId id :
         {ControlId::start_packet, ControlId::end_packet, ControlId::repeat_count, ControlId::interval,
          ControlId::wait_for_rx, ControlId::auto_crlf, ControlId::send_ascii, ControlId::send_hex}) {
      EXPECT_EQ(of(states, id).enabled, f.transmit_expanded && !repeats) << control(id).name;
    }
    EXPECT_EQ(of(states, ControlId::rx_timeout).enabled, f.transmit_expanded && !repeats && f.wait_for_rx);
    EXPECT_EQ(of(states, ControlId::transmit).enabled, !repeats);
    EXPECT_EQ(of(states, ControlId::load_packets).enabled, f.transmit_expanded && !repeats);
  });
}

TEST(StateRules, ARecordingCanAlwaysBeStoppedAndOnlyAConnectionRecorded) {
  for_all_facts([](const Facts& f, const ControlStates& states) {
    const bool may =
        f.record == RecordState::running || (f.record == RecordState::idle && f.link == LinkState::connected);
    EXPECT_EQ(of(states, ControlId::record).enabled, may);
    EXPECT_EQ(of(states, ControlId::record_name).enabled, f.record == RecordState::idle);
    EXPECT_TRUE(of(states, ControlId::record_title).visible && of(states, ControlId::open_folder).enabled);
    const ControlState& display = of(states, ControlId::display_while_recording);
    EXPECT_EQ(display.enabled, !f.high_speed);
    EXPECT_EQ(display.checked, f.display_while_recording && !f.high_speed);
  });
}

TEST(StateRules, TheLineSettingsCanBeChangedOnlyWhileDisconnected) {
  for_all_facts([](const Facts& f, const ControlStates& states) {
    const bool free = f.link == LinkState::disconnected;
    for (const ControlId id : {ControlId::timeout, ControlId::baud, ControlId::data_bits,
                               ControlId::stop_bits, ControlId::parity}) {
      EXPECT_EQ(of(states, id).enabled, free) << control(id).name;
    }
    EXPECT_EQ(of(states, ControlId::port).enabled, free && f.has_ports);
  });
}

TEST(StateRules, WhatMustAlwaysWorkIsAlwaysEnabledAndVisible) {
  for_all_facts([](const Facts&, const ControlStates& states) {
    for (const ControlId id : {ControlId::connect, ControlId::refresh, ControlId::clear,
                               ControlId::repeat_title, ControlId::receive_view, ControlId::status}) {
      EXPECT_TRUE(of(states, id).enabled && of(states, id).visible) << control(id).name;
    }
  });
}

// What stays of the folded panel: its header, and what also counts for the next time it is shown.
constexpr ControlId kAlwaysShown[]{ControlId::transmit,    ControlId::repeat_title,
                                   ControlId::wait_for_rx, ControlId::rx_timeout_label,
                                   ControlId::rx_timeout,  ControlId::rx_timeout_unit};

TEST(StateRules, HiddenControlsAreDisabledAndOnlyFoldingHides) {
  for_all_facts([](const Facts& f, const ControlStates& states) {
    for (const ControlRow& row : kControls) {
      const ControlState& state = of(states, row.id);
      EXPECT_TRUE(state.visible || !state.enabled) << row.name;
      const bool folds = (row.group == ControlGroup::transmit || row.group == ControlGroup::repeat) &&
                         std::ranges::find(kAlwaysShown, row.id) == std::end(kAlwaysShown);
      const bool wanted = row.kind != ControlKind::badge || f.newer_release;
      EXPECT_EQ(state.visible, wanted && (!folds || f.transmit_expanded)) << row.name;
    }
  });
}

TEST(StateRules, ChecksMirrorThePreferencesAlsoWhileDisabled) {
  for_all_facts([](const Facts& f, const ControlStates& states) {
    EXPECT_EQ(of(states, ControlId::line_break).checked, f.line_break);
    EXPECT_EQ(of(states, ControlId::hide_crlf).checked, f.hide_crlf);
    EXPECT_EQ(of(states, ControlId::hide_crlf).enabled, !f.receive_hex);
    EXPECT_EQ(of(states, ControlId::echo_sent).checked, f.echo_sent);
    EXPECT_EQ(of(states, ControlId::echo_sent).enabled, f.transmit_expanded);
    EXPECT_EQ(of(states, ControlId::transmit).checked, f.transmit_expanded);
    EXPECT_EQ(of(states, ControlId::auto_crlf).checked, f.auto_crlf);
    EXPECT_EQ(of(states, ControlId::wait_for_rx).checked, f.wait_for_rx);
    EXPECT_EQ(of(states, ControlId::receive_hex).checked, f.receive_hex);
    EXPECT_EQ(of(states, ControlId::send_hex).checked, f.send_hex);
    EXPECT_NE(of(states, ControlId::receive_ascii).checked, of(states, ControlId::receive_hex).checked);
    EXPECT_NE(of(states, ControlId::send_ascii).checked, of(states, ControlId::send_hex).checked);
  });
}

TEST(StateRules, CaptionsExistExactlyWhereAControlShowsOne) {
  for_all_facts([](const Facts&, const ControlStates& states) {
    for (const ControlRow& row : kControls) {
      EXPECT_EQ(of(states, row.id).caption.empty(), !has_caption(row.kind)) << row.name;
      const bool checkable = row.kind == ControlKind::check || row.kind == ControlKind::radio;
      EXPECT_TRUE(checkable || !of(states, row.id).checked) << row.name;
    }
  });
}

TEST(StateRules, OnlyTheConnectionButtonTellsTheLinkInItsCaption) {
  for_all_facts([](const Facts& f, const ControlStates& states) {
    Facts idle = f;
    idle.link = LinkState::disconnected;
    const ControlStates calm = rules(idle);
    for (const ControlRow& row : kControls) {
      const bool same = of(states, row.id).caption == of(calm, row.id).caption;
      EXPECT_EQ(same, row.id != ControlId::connect || f.link == LinkState::disconnected) << row.name;
    }
  });
}

TEST(StateRules, ALanguageChangesCaptionsAndNothingElse) {
  for_all_facts([](const Facts& f, const ControlStates& states) {
    Facts other = f;
    other.language = f.language == Language::korean ? Language::english : Language::korean;
    ControlStates translated = rules(other);
    for (std::size_t i = 0; i < kControlCount; ++i)
      translated[i].caption = states[i].caption, translated[i].tip = states[i].tip,
      translated[i].name = states[i].name;
    EXPECT_TRUE(translated == states);
  });
}

// One preference must not reach into the controls of another.
TEST(StateRules, APreferenceChangesOnlyItsOwnControls) {
  struct Case {
    const char* name;
    bool Facts::*flag;
    std::vector<ControlId> touched;
  };
  const Case cases[]{
      {"has_ports", &Facts::has_ports, {ControlId::port}},
      {"receive_hex",
       &Facts::receive_hex,
       {ControlId::receive_ascii, ControlId::receive_hex, ControlId::hide_crlf}},
      {"line_break", &Facts::line_break, {ControlId::line_break}},
      {"hide_crlf", &Facts::hide_crlf, {ControlId::hide_crlf}},
      {"echo_sent", &Facts::echo_sent, {ControlId::echo_sent}},
      {"send_hex", &Facts::send_hex, {ControlId::send_ascii, ControlId::send_hex}},
      {"auto_crlf", &Facts::auto_crlf, {ControlId::auto_crlf}},
      {"display_while_recording", &Facts::display_while_recording, {ControlId::display_while_recording}},
      {"high_speed", &Facts::high_speed, {ControlId::display_while_recording}},
      {"newer_release", &Facts::newer_release, {ControlId::update_badge}},
      {"always_on_top", &Facts::always_on_top, {ControlId::always_on_top}},
      {"paused", &Facts::paused, {ControlId::follow}},
      {"wait_for_rx", &Facts::wait_for_rx, {ControlId::wait_for_rx, ControlId::rx_timeout}},
  };
  for_all_facts([&cases](const Facts& f, const ControlStates& states) {
    for (const Case& c : cases) {
      Facts flipped = f;
      flipped.*c.flag = !(f.*c.flag);
      const ControlStates after = rules(flipped);
      for (const ControlRow& row : kControls) {
        if (of(after, row.id) == of(states, row.id)) continue;
        EXPECT_TRUE(std::ranges::count(c.touched, row.id) == 1) << c.name << " changed " << row.name;
      }
    }
  });
}

// Whoever cannot see the window must be told what each control is, and by which key it is reached.
TEST(StateRules, EveryControlHasASpokenNameAndATipWithItsKey) {
  for (const Language language : {Language::english, Language::korean}) {
    const ControlStates states =
        rules({.language = language, .newer_release = true, .transmit_expanded = true});
    for (const ControlRow& row : kControls) {
      const ControlState& state = of(states, row.id);
      const bool named = !state.name.empty() || !state.caption.empty();
      const bool tells_itself = row.kind == ControlKind::counter || row.kind == ControlKind::status;
      EXPECT_EQ(named, !tells_itself) << row.name;
      if (row.access_key == 0 || is_packet_row(row.id) || row.kind == ControlKind::receive_view ||
          row.id == ControlId::follow)
        continue;
      const std::wstring key = std::wstring(L"(Alt+") + static_cast<wchar_t>(row.access_key) + L")";
      EXPECT_TRUE(state.tip.ends_with(key)) << row.name;
      EXPECT_EQ(control_of_access_key(static_cast<char32_t>(row.access_key)), row.id);
    }
  }
  EXPECT_EQ(control_of_access_key(U'r'), ControlId::refresh);
  EXPECT_EQ(control_of_access_key(U'7'), packet_field(6));
  for (const char32_t none : {U'\0', U'z', U'é', U'연'})
    EXPECT_FALSE(control_of_access_key(none)) << static_cast<unsigned>(none);
}

TEST(MenuRules, MarkThePresentLanguageAndThemeAndTellAllInTheLanguage) {
  for (const Language language : {Language::english, Language::korean}) {
    for (const ThemeChoice theme : {ThemeChoice::light, ThemeChoice::dark, ThemeChoice::system}) {
      const MenuStates menus = menu_rules({.language = language, .theme = theme});
      const auto marked = [&](MenuItem first, int offset) {
        return menus[index_of(first) + static_cast<std::size_t>(offset)].checked;
      };
      for (const int i : {0, 1})
        EXPECT_EQ(marked(MenuItem::english, i), i == static_cast<int>(language));
      for (const int i : {0, 1, 2})
        EXPECT_EQ(marked(MenuItem::theme_light, i), i == static_cast<int>(theme));
      for (const MenuRow& row : kMenuItems) {
        EXPECT_FALSE(menus[index_of(row.item)].caption.empty());
        EXPECT_TRUE(row.exclusive || !menus[index_of(row.item)].checked);
      }
    }
  }
}

}  // namespace
}  // namespace hvt
