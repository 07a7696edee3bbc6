// Risk: a slot moves by one in the table of 29, or the light palette stops following the desktop.
#include "ui/theme.h"

#include <gtest/gtest.h>

#include <utility>

namespace hvt {
namespace {

// Eight colours that no slot has of its own.
SystemColors marked_system() {
  SystemColors system;
  for (std::size_t i = 0; i < kSystemColorCount; ++i)
    system[i] = {1, 2, static_cast<std::uint8_t>(i)};
  return system;
}

Rgb of(SystemColor color) {
  return marked_system()[static_cast<std::size_t>(color)];
}

TEST(Theme, LightFollowsTheDesktopWhereItShould) {
  const ThemePalette light = build_theme_palette(false, marked_system());
  EXPECT_FALSE(light.dark);
  const std::pair<ThemeColor, SystemColor> cases[] = {
      {ThemeColor::window, SystemColor::button_face},
      {ThemeColor::field, SystemColor::window},
      {ThemeColor::text, SystemColor::button_text},
      {ThemeColor::secondary_text, SystemColor::gray_text},
      {ThemeColor::accent, SystemColor::hot_light},
      {ThemeColor::selection, SystemColor::highlight},
      {ThemeColor::selection_text, SystemColor::highlight_text},
      {ThemeColor::disabled_text, SystemColor::gray_text},
      {ThemeColor::receive_surface, SystemColor::window},
      {ThemeColor::button, SystemColor::button_face},
      {ThemeColor::frame, SystemColor::window_frame},
  };
  for (const auto& [slot, system] : cases)
    EXPECT_EQ(light[slot], of(system)) << static_cast<int>(slot);
  EXPECT_EQ(light[ThemeColor::alternate_row], (Rgb{238, 244, 250}));
  EXPECT_EQ(light[ThemeColor::badge], (Rgb{173, 255, 47}));
  EXPECT_EQ(light[ThemeColor::recording], (Rgb{255, 0, 0}));
}

TEST(Theme, DarkIsTheSameOnEveryDesktop) {
  const ThemePalette dark = build_theme_palette(true, marked_system());
  EXPECT_EQ(dark, build_theme_palette(true, {}));
  EXPECT_TRUE(dark.dark);
  EXPECT_EQ(dark.colors.front(), (Rgb{30, 30, 30}));
  EXPECT_EQ(dark[ThemeColor::error_text], (Rgb{244, 135, 113}));
  EXPECT_EQ(dark[ThemeColor::list_selection], (Rgb{4, 57, 94}));
  EXPECT_EQ(dark.colors.back(), (Rgb{107, 107, 107}));
}

TEST(Theme, OnlyExactNamesCount) {
  for (const bool desktop : {false, true}) {
    EXPECT_TRUE(resolve_dark_theme(L"Dark", desktop));
    EXPECT_EQ(resolve_dark_theme(L"System", desktop), desktop);
    for (const wchar_t* const other : {L"Light", L"dark", L"DARK", L"system", L""})
      EXPECT_FALSE(resolve_dark_theme(other, desktop)) << other;
  }
}

}  // namespace
}  // namespace hvt
