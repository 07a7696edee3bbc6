#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "display/palette.h"

namespace hvt {

// What the user chose; stored by these names.
inline constexpr std::wstring_view kThemeLight = L"Light";
inline constexpr std::wstring_view kThemeDark = L"Dark";
inline constexpr std::wstring_view kThemeSystem = L"System";
inline constexpr std::array<std::wstring_view, 3> kThemeNames{kThemeLight, kThemeDark,
                                                              kThemeSystem};  // index = ThemeChoice

// Every colour of the window but those of received and sent text (display/palette.h). The value is the slot
// of ThemePalette.
enum class ThemeColor : std::uint8_t {
  window,           // surfaces, each with a brush on Windows: window to pressed
  menu_bar,         // the strip of the menus
  header,           // the band behind the connection controls, a hovered menu
  alternate_row,    // behind and inside every second packet row
  field,            // inside fields and drop-down lists
  disabled_field,   //
  pressed,          // a button held down
  text,             //
  secondary_text,   // units, hints
  border,           // resting frames and hairlines
  packet_text,      // text in a packet field that is being sent
  receive_accent,   // title of what is received
  warning_text,     //
  error_text,       // the status line's errors
  accent,           // focused frames
  selection,        // selected text
  selection_text,   //
  disabled_text,    //
  badge,            // the update badge
  receive_surface,  // behind received text
  receive_text,     //
  button,           //
  primary_button,   // the button that acts on the line
  list_selection,   // the entry under the pointer in an open list or menu
  focus,            // the dotted or coloured mark of the keyboard
  link,             //
  hovered_button,   //
  recording,        // what tells that a recording runs
  frame,            // of lists and menus
};
inline constexpr std::size_t kThemeColorCount = static_cast<std::size_t>(ThemeColor::frame) + 1;
inline constexpr std::size_t kSurfaceColorCount = static_cast<std::size_t>(ThemeColor::pressed) + 1;

// The colours that the desktop's own settings give; the light appearance follows them.
enum class SystemColor : std::uint8_t {
  button_face,
  window,
  button_text,
  gray_text,
  hot_light,
  highlight,
  highlight_text,
  window_frame,
};
inline constexpr std::size_t kSystemColorCount = static_cast<std::size_t>(SystemColor::window_frame) + 1;
using SystemColors = std::array<Rgb, kSystemColorCount>;

struct ThemePalette {
  bool dark = false;
  std::array<Rgb, kThemeColorCount> colors{};

  const Rgb& operator[](ThemeColor slot) const { return colors[static_cast<std::size_t>(slot)]; }
  friend bool operator==(const ThemePalette&, const ThemePalette&) = default;
};

// Whether the dark palette applies. Exactly "Dark" is dark, "System" is what the desktop prefers, anything
// else is light.
bool resolve_dark_theme(std::wstring_view theme, bool desktop_prefers_dark);

// Pure: the caller reads the desktop's colours, each time anew.
ThemePalette build_theme_palette(bool dark, const SystemColors& system);

}  // namespace hvt
