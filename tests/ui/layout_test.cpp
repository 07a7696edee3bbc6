// Risk: at some size, DPI or language a control is clipped, covered or pushed out of the window, or the
// window jumps when it crosses a layout edge. Properties over a grid of sizes, not single pictures.
#include "ui/layout.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "ui/choices.h"
#include "ui/section_marks.h"
#include "ui/state_rules.h"
#include "ui/texts.h"

namespace hvt {
namespace {

constexpr int kDpis[]{96, 120, 144, 168, 192};
constexpr int kWidths[]{600, 601, 640, 699, 700, 701, 739, 740, 800, 1024, 1366, 1920, 2560};
constexpr int kHeights[]{400, 440, 500, 640, 800, 940, 1200, 1600};
constexpr PanelState kFolded{};
constexpr PanelState kOpen{.transmit_expanded = true};

// A font to measure with: how wide a Latin character is, in percent of the line height; a space is half of
// that. Hangul is as wide as the line is high, which is more than interface fonts need.
struct Font {
  Language language;
  int line_height;  // at 96 DPI
  int latin_percent;
};
constexpr Font kFonts[]{{Language::english, 16, 42}, {Language::english, 18, 50}, {Language::korean, 16, 50}};

constexpr int kUsualLine = 16;  // of the interface font that the settled sizes are for

int scaled(int logical, int dpi) {
  return (logical * dpi + 48) / 96;
}

int text_width(std::wstring_view text, const Font& font, int dpi) {
  const int height = scaled(font.line_height, dpi);
  int width = 0;
  const int latin = (height * font.latin_percent + 99) / 100;
  for (const wchar_t c : text)
    width += c == L' ' ? latin / 2 : c >= 0xAC00 ? height : latin;
  return width;
}

template <typename Entries>
int widest(const Entries& entries, const Font& font, int dpi) {
  int width = 0;
  for (const auto& entry : entries) {
    if constexpr (std::is_same_v<std::decay_t<decltype(entry)>, TextId>) {
      width = std::max(width, text_width(text(entry, font.language), font, dpi));
    } else {
      width = std::max(width, text_width(entry, font, dpi));
    }
  }
  return width;
}

// What a face would measure: the captions of the rules and the entries of the choices.
Metrics measure(const Font& font, int dpi, LinkState link = LinkState::disconnected,
                RepeatState repeat = RepeatState::idle) {
  Metrics metrics;
  metrics.dpi = dpi;
  metrics.text_height = metrics.mono_height = scaled(font.line_height, dpi);
  Facts facts;
  facts.language = font.language;
  facts.link = link;
  facts.repeat = repeat;
  const ControlStates states = rules(facts);
  for (std::size_t i = 0; i < kControlCount; ++i) {
    metrics.text_width[i] = text_width(states[i].caption, font, dpi);
  }
  metrics.text_width[index_of(ControlId::port)] = text_width(std::wstring(200, L'W'), font, dpi);
  metrics.text_width[index_of(ControlId::timeout)] = widest(kTimeoutSeconds, font, dpi);
  metrics.text_width[index_of(ControlId::baud)] = widest(kBaudRates, font, dpi);
  metrics.text_width[index_of(ControlId::data_bits)] = widest(kDataBits, font, dpi);
  metrics.text_width[index_of(ControlId::stop_bits)] = widest(kStopBits, font, dpi);
  metrics.text_width[index_of(ControlId::parity)] = widest(kParities, font, dpi);
  metrics.text_width[index_of(ControlId::buffer_size)] = widest(kBufferSizes, font, dpi);
  metrics.text_width[index_of(ControlId::font_size)] = widest(kFontSizes, font, dpi);
  metrics.text_width[index_of(ControlId::line_count)] =
      text_width(line_count_text(1'000'000, font.language), font, dpi);
  return metrics;
}

const Rect& at(const Placement& placement, ControlId id) {
  return placement[index_of(id)];
}

bool stretches(ControlId id) {
  return id == ControlId::port || control(id).kind == ControlKind::packet_edit ||
         control(id).kind == ControlKind::name_edit || id == ControlId::receive_view ||
         id == ControlId::status;
}

// What the rules show has a place, and nothing else has.
bool shown(ControlId id, const PanelState& panel) {
  return rules({.newer_release = true, .transmit_expanded = panel.transmit_expanded})[index_of(id)].visible;
}

int frame(ControlKind kind) {
  switch (kind) {
    case ControlKind::button: return 20;
    case ControlKind::menu_button:
    case ControlKind::bar_button: return 16;
    case ControlKind::badge: return 12;
    case ControlKind::check:
    case ControlKind::radio: return 22;
    case ControlKind::choice: return 34;
    case ControlKind::number_edit: return 16;
    default: return 0;
  }
}

struct Scene {
  Metrics metrics;
  Size client;
  PanelState panel;
};

// Every client size of the grid that is not below the minimum, in every font, DPI and panel state.
template <typename Check>
void for_all_scenes(Check check) {
  int visited = 0;
  for (const Font& font : kFonts) {
    for (const int dpi : kDpis) {
      const Metrics metrics = measure(font, dpi);
      for (const PanelState panel : {kFolded, kOpen}) {
        for (const int width : kWidths) {
          const Size least = minimum_client_size(metrics, scaled(width, dpi), panel);
          for (const int height : kHeights) {
            const Scene scene{
                metrics,
                {std::max(scaled(width, dpi), least.width), std::max(scaled(height, dpi), least.height)},
                panel};
            SCOPED_TRACE(testing::Message()
                         << (font.language == Language::korean ? "korean " : "english ") << font.line_height
                         << "px, " << dpi << " dpi, " << scene.client.width << "x" << scene.client.height
                         << (panel.transmit_expanded ? ", open" : ", folded"));
            check(scene, layout(metrics, scene.client, panel));
            if (testing::Test::HasFailure()) return;
            ++visited;
          }
        }
      }
    }
  }
  EXPECT_EQ(visited, 3 * 5 * 2 * 13 * 8);
}

TEST(Layout, EverythingShownLiesInsideAndNothingElseIsPlaced) {
  for_all_scenes([](const Scene& s, const Placement& p) {
    for (const ControlRow& row : kControls) {
      const Rect& r = at(p, row.id);
      EXPECT_EQ(!r.empty(), shown(row.id, s.panel)) << row.name;
      EXPECT_TRUE(r.x >= 0 && r.y >= 0 && r.right() <= s.client.width && r.bottom() <= s.client.height)
          << row.name;
    }
  });
}

TEST(Layout, NothingOverlaps) {
  for_all_scenes([](const Scene&, const Placement& p) {
    for (std::size_t i = 0; i < kControlCount; ++i) {
      for (std::size_t j = 0; j < i; ++j) {
        if (p[i].empty() || p[j].empty()) continue;
        const bool apart = p[i].right() <= p[j].x || p[j].right() <= p[i].x || p[i].bottom() <= p[j].y ||
                           p[j].bottom() <= p[i].y;
        EXPECT_TRUE(apart) << kControls[i].name << " and " << kControls[j].name;
      }
    }
  });
}

TEST(Layout, TheMarkOfASectionStandsInTheGapBesideItsTitle) {
  const std::pair<ControlId, ThemeColor> titles[]{{ControlId::receive_title, ThemeColor::receive_accent},
                                                  {ControlId::record_title, ThemeColor::recording},
                                                  {ControlId::transmit, ThemeColor::packet_text},
                                                  {ControlId::repeat_title, ThemeColor::warning_text}};
  for_all_scenes([&](const Scene& s, const Placement& p) {
    const SectionMarks marks = section_marks(p);
    for (std::size_t i = 0; i < marks.size(); ++i) {
      const Rect& mark = marks[i].place;
      const Rect& title = at(p, titles[i].first);
      EXPECT_EQ(marks[i].color, titles[i].second);
      EXPECT_GE(mark.x, 0);
      EXPECT_GT(mark.width, 0);
      EXPECT_LE(mark.right() + scaled(3, s.metrics.dpi), title.x);
      EXPECT_GE(mark.right() + scaled(6, s.metrics.dpi), title.x);
      EXPECT_GT(mark.y, title.y);
      EXPECT_EQ(mark.y - title.y, title.bottom() - mark.bottom());
      for (const ControlRow& row : kControls) {
        const Rect& r = at(p, row.id);
        const bool same_line = !r.empty() && r.bottom() > mark.y && mark.bottom() > r.y;
        EXPECT_TRUE(!same_line || r.right() <= mark.x || mark.right() < r.x) << row.name;
      }
    }
  });
}

TEST(Layout, NoTextIsClipped) {
  for_all_scenes([](const Scene& s, const Placement& p) {
    for (const ControlRow& row : kControls) {
      const Rect& r = at(p, row.id);
      if (r.empty()) continue;
      EXPECT_GE(r.height, s.metrics.text_height) << row.name;
      if (stretches(row.id)) continue;
      EXPECT_GE(r.width, s.metrics.text_width[index_of(row.id)] + scaled(frame(row.kind), s.metrics.dpi))
          << row.name;
    }
    EXPECT_GE(at(p, ControlId::receive_view).height, scaled(80, s.metrics.dpi));
  });
}

// Tab order is table order, so the table must read like the window: left to right, top to bottom.
TEST(Layout, TabOrderIsReadingOrder) {
  for_all_scenes([](const Scene&, const Placement& p) {
    Rect before{};
    for (const ControlRow& row : kControls) {
      const Rect& r = at(p, row.id);
      if (r.empty()) continue;
      const bool same_line = r.y < before.bottom() && r.bottom() > before.y;
      EXPECT_TRUE(r.y >= before.bottom() || (same_line && r.x >= before.right())) << row.name;
      before = r;
    }
  });
}

TEST(Layout, EdgesAlign) {
  for_all_scenes([](const Scene& s, const Placement& p) {
    const int margin = at(p, ControlId::port).x;
    const int right = s.client.width - margin;
    EXPECT_EQ(at(p, ControlId::status).bottom(), s.client.height - margin);
    for (const ControlId id : {ControlId::receive_view, ControlId::status, ControlId::clear}) {
      EXPECT_EQ(at(p, id).right(), right) << control(id).name;
    }
    for (const ControlId id : {ControlId::baud_label, ControlId::receive_title, ControlId::receive_view,
                               ControlId::transmit, ControlId::status}) {
      EXPECT_EQ(at(p, id).x, margin) << control(id).name;
    }
    for (std::size_t row = 0; s.panel.transmit_expanded && row < 10; ++row) {
      EXPECT_EQ(at(p, packet_field(row)).x, margin);
      EXPECT_EQ(at(p, send_button(row)).right(), right);
    }
  });
}

// Growing within one arrangement gives the new pixels to the stretchers and to nobody else.
TEST(Layout, OnlyStretchersGrow) {
  constexpr int kMore = 7;
  for_all_scenes([](const Scene& s, const Placement& p) {
    const Placement wider = layout(s.metrics, {s.client.width + kMore, s.client.height}, s.panel);
    const Placement taller = layout(s.metrics, {s.client.width, s.client.height + kMore}, s.panel);
    const bool rearranged =
        at(wider, ControlId::receive_view).y != at(p, ControlId::receive_view).y ||
        at(wider, ControlId::receive_view).height != at(p, ControlId::receive_view).height;
    for (const ControlRow& row : kControls) {
      if (at(p, row.id).empty()) continue;
      const bool view = row.id == ControlId::receive_view;
      EXPECT_EQ(at(taller, row.id).height - at(p, row.id).height, view ? kMore : 0) << row.name;
      EXPECT_EQ(at(taller, row.id).width, at(p, row.id).width) << row.name;
      if (rearranged) continue;
      EXPECT_EQ(at(wider, row.id).height, at(p, row.id).height) << row.name;
      EXPECT_EQ(at(wider, row.id).width - at(p, row.id).width, stretches(row.id) ? kMore : 0) << row.name;
    }
  });
}

TEST(Layout, TheConnectionDetailsTakeALineOfTheirOwnBelow700) {
  for (const Font& font : kFonts) {
    for (const int dpi : kDpis) {
      const Metrics metrics = measure(font, dpi);
      const int edge = scaled(700, dpi);
      const Size client{edge, scaled(1200, dpi)};
      const Placement wide = layout(metrics, client, kOpen);
      const Placement compact = layout(metrics, {edge - 1, client.height}, kOpen);
      SCOPED_TRACE(testing::Message() << dpi << " dpi, font " << font.line_height);
      EXPECT_EQ(at(wide, ControlId::timeout).y, at(wide, ControlId::port).y);
      EXPECT_EQ(at(compact, ControlId::timeout).y - at(compact, ControlId::port).y, scaled(30, dpi));
      // The communication settings stay one row and move down by one.
      EXPECT_EQ(at(compact, ControlId::baud).y - at(wide, ControlId::baud).y, scaled(30, dpi));
      EXPECT_EQ(at(compact, ControlId::parity).y, at(compact, ControlId::baud).y);
      EXPECT_EQ(at(wide, ControlId::parity).y, at(wide, ControlId::baud).y);
      // Nothing below the receive view moves.
      for (const ControlId id : {ControlId::transmit, ControlId::packet_10, ControlId::status}) {
        EXPECT_EQ(at(compact, id).y, at(wide, id).y) << control(id).name;
      }
    }
  }
}

TEST(Layout, ReceiveOptionsKeepTheirDistances) {
  for_all_scenes([](const Scene& s, const Placement& p) {
    const auto distance = [&p](ControlId left, ControlId right) {
      return at(p, right).x - at(p, left).right();
    };
    const int dpi = s.metrics.dpi;
    EXPECT_EQ(distance(ControlId::line_break, ControlId::hide_crlf), scaled(12, dpi));
    EXPECT_EQ(distance(ControlId::hide_crlf, ControlId::echo_sent), scaled(12, dpi));
    EXPECT_EQ(distance(ControlId::buffer_size_label, ControlId::buffer_size), scaled(1, dpi));
    EXPECT_EQ(distance(ControlId::buffer_size, ControlId::font_size_label), scaled(12, dpi));
    EXPECT_EQ(distance(ControlId::font_size_label, ControlId::font_size), scaled(1, dpi));
    EXPECT_EQ(distance(ControlId::font_size, ControlId::font_size_unit), scaled(4, dpi));
    EXPECT_GE(distance(ControlId::line_count, ControlId::clear), scaled(12, dpi));
    EXPECT_EQ(distance(ControlId::baud_label, ControlId::baud), scaled(1, dpi));
    EXPECT_EQ(distance(ControlId::timeout, ControlId::timeout_unit), scaled(4, dpi));
  });
}

// A connection attempt changes the button's caption, and nobody measures again for it.
TEST(Layout, TheConnectionButtonHasRoomForEachOfItsCaptions) {
  for (const Font& font : kFonts) {
    for (const int dpi : kDpis) {
      const Rect button = at(layout(measure(font, dpi), {0, 0}, kFolded), ControlId::connect);
      for (const LinkState link : {LinkState::connecting, LinkState::connected}) {
        const int needed =
            measure(font, dpi, link).text_width[index_of(ControlId::connect)] + scaled(20, dpi);
        EXPECT_GE(button.width, needed) << dpi << " dpi, font " << font.line_height;
      }
    }
  }
}

TEST(Layout, TheRepeatButtonHasRoomForEachOfItsCaptions) {
  for (const Font& font : kFonts) {
    for (const int dpi : kDpis) {
      const Rect button = at(layout(measure(font, dpi), {0, 0}, kOpen), ControlId::repeat);
      for (const RepeatState repeat : {RepeatState::running, RepeatState::stopping}) {
        const Metrics metrics = measure(font, dpi, LinkState::connected, repeat);
        const int needed = metrics.text_width[index_of(ControlId::repeat)] + scaled(20, dpi);
        EXPECT_GE(button.width, needed) << dpi << " dpi, font " << font.line_height;
      }
    }
  }
}

// Interval and button share the second row, and the packet rows stay where they are.
TEST(Layout, TheRepeatSettingsTakeASecondRowBelow740) {
  for (const Font& font : kFonts) {
    for (const int dpi : kDpis) {
      SCOPED_TRACE(testing::Message() << dpi << " dpi, font " << font.line_height);
      const Metrics metrics = measure(font, dpi);
      const Size client{scaled(739, dpi), scaled(1200, dpi)};
      const Placement narrow = layout(metrics, client, kOpen);
      EXPECT_EQ(at(narrow, ControlId::repeat_count).y, at(narrow, ControlId::repeat_title).y);
      EXPECT_GE(at(narrow, ControlId::interval).y - at(narrow, ControlId::repeat_title).y, scaled(30, dpi));
      EXPECT_EQ(at(narrow, ControlId::repeat).y, at(narrow, ControlId::interval).y);
      const Placement wide = layout(metrics, {scaled(1366, dpi), client.height}, kOpen);
      EXPECT_EQ(at(wide, ControlId::repeat).y, at(wide, ControlId::repeat_title).y);
    }
  }
}

TEST(MinimumSize, IsThatOfTheSettledWindows) {
  for (const Font& font : kFonts) {
    for (const int dpi : kDpis) {
      SCOPED_TRACE(testing::Message() << dpi << " dpi, font " << font.line_height);
      const Metrics metrics = measure(font, dpi);
      const bool usual = font.line_height == kUsualLine;
      const auto least_height = [&](int width, const PanelState& panel) {
        return minimum_client_size(metrics, scaled(width, dpi), panel).height;
      };
      for (const int width : {0, 599, 600, 700, 2560}) {
        for (const PanelState& panel : {kFolded, kOpen})
          EXPECT_EQ(minimum_client_size(metrics, scaled(width, dpi), panel).width, scaled(600, dpi));
        EXPECT_LT(least_height(width, kFolded), least_height(width, kOpen));
      }
      if (usual) {  // a window of 700 by 440 grows as needed when the panel is shown, one of 600 by 500 to
                    // 940
        EXPECT_LE(least_height(700, kFolded), scaled(440, dpi));
        EXPECT_LE(least_height(600, kFolded), scaled(500, dpi));
        EXPECT_EQ(least_height(600, kOpen), scaled(940, dpi));
        EXPECT_LT(least_height(700, kOpen), scaled(940, dpi));
        EXPECT_LE(least_height(740, kOpen), scaled(800, dpi));
      }
      EXPECT_EQ(least_height(1, kOpen), least_height(600, kOpen)) << "below the minimum is the minimum";
      const Placement tightest = layout(metrics, minimum_client_size(metrics, 0, kFolded), kFolded);
      EXPECT_EQ(at(tightest, ControlId::receive_view).height, scaled(80, dpi)) << "and no more";
    }
  }
}

TEST(FitClientSize, TakesTheFirstArrangementThatTheScreenHasRoomFor) {
  const Metrics metrics = measure(kFonts[0], 96);
  const int open_700 = minimum_client_size(metrics, 700, kOpen).height;
  const int open_740 = minimum_client_size(metrics, 740, kOpen).height;
  ASSERT_LT(open_740, open_700);
  struct Case {
    const char* name;
    Size wanted;
    PanelState panel;
    Size largest;
    Size expected;
  };
  const Case cases[]{
      {"fits", {800, 800}, kOpen, {1920, 1040}, {800, 800}},
      {"higher than the screen", {800, 1200}, kFolded, {1366, 700}, {800, 700}},
      {"wider than the screen", {2560, 700}, kFolded, {1366, 728}, {1366, 700}},
      {"smaller than the minimum",
       {100, 100},
       kFolded,
       {1366, 728},
       minimum_client_size(metrics, 0, kFolded)},
      {"compact does not fit, 700 does", {600, 940}, kOpen, {1366, open_700}, {700, open_700}},
      {"only 740 fits", {600, 940}, kOpen, {1366, open_700 - 1}, {740, open_700 - 1}},
      {"nothing fits", {600, 940}, kOpen, {1366, open_740 - 1}, {740, open_740 - 1}},
      {"nothing fits, nor in width", {600, 940}, kOpen, {640, 480}, {640, 480}},
  };
  for (const Case& c : cases)
    EXPECT_EQ(fit_client_size(metrics, c.wanted, c.panel, c.largest), c.expected) << c.name;
}

TEST(MinimumSize, GrowsWhenAFontNeedsMore) {
  const Metrics huge = measure({Language::english, 40, 70}, 96);
  const Size least = minimum_client_size(huge, 0, kOpen);
  EXPECT_GT(least.width, 600);
  const Placement p = layout(huge, least, kOpen);
  for (const ControlRow& row : kControls)
    EXPECT_LE(at(p, row.id).right(), least.width) << row.name;
  EXPECT_EQ(at(p, ControlId::parity).y, at(p, ControlId::baud).y);
}

TEST(Layout, ATooSmallClientIsLaidOutAsTheMinimum) {
  const Metrics metrics = measure(kFonts[0], 96);
  for (const PanelState panel : {kFolded, kOpen}) {
    EXPECT_EQ(layout(metrics, {0, 0}, panel), layout(metrics, minimum_client_size(metrics, 0, panel), panel));
  }
}

TEST(Layout, AFirstWindowGivesTheFoldedReceiveViewMoreThanHalf) {
  for (const Font& font : kFonts) {
    for (const int dpi : kDpis) {
      const Metrics metrics = measure(font, dpi);
      const Size first = first_client_size(metrics);
      EXPECT_EQ(first, (Size{scaled(800, dpi), scaled(800, dpi)}));
      EXPECT_GT(at(layout(metrics, first, kFolded), ControlId::receive_view).height, scaled(400, dpi));
    }
  }
}

}  // namespace
}  // namespace hvt
