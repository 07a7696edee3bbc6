#include "ui/qt/theme_colors.h"

#include <algorithm>
#include <cmath>

namespace hvt::look {
namespace {

constexpr double kReadable = 4.5;
constexpr double kContrastStep = 1.0 / 16;
constexpr double kMiddleLuminance = 0.18;  // black and white are about equally readable on it

// As the sRGB standard defines it.
double luminance(const QColor& color) {
  const auto linear = [](double part) {
    return part <= 0.04045 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
  };
  return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) + 0.0722 * linear(color.blueF());
}

void derive_buttons(const ThemePalette& palette, Colors& c) {
  const auto slot = [&palette](ThemeColor color) { return to_qcolor(palette[color]); };
  const QColor hovered = slot(ThemeColor::hovered_button);
  c.button = mixed(slot(ThemeColor::button), c.field, 0.6);
  c.hovered_button = mixed(c.button, hovered, c.dark ? 0.35 : 1.0);
  c.pressed_button = mixed(hovered, slot(ThemeColor::pressed), c.dark ? 0.5 : 0.2);
  c.disabled_button = c.disabled_field;

  c.primary = slot(ThemeColor::primary_button);
  c.primary_text = readable(c.selection_text, c.primary);
  c.hovered_primary = mixed(c.primary, QColor(Qt::black), 0.12);
  c.pressed_primary = mixed(c.primary, QColor(Qt::black), 0.25);

  c.hovered_bar = mixed(c.menu_bar, c.dark ? c.text : c.field, c.dark ? 0.12 : 0.6);
  c.pressed_bar = mixed(c.menu_bar, c.dark ? c.text : c.field, c.dark ? 0.2 : 1.0);
  c.badge = slot(ThemeColor::badge);
  c.badge_text = readable(c.text, c.badge);
}

}  // namespace

QColor to_qcolor(Rgb color) {
  return {color.red, color.green, color.blue};
}

Rgb to_rgb(const QColor& color) {
  return {static_cast<std::uint8_t>(color.red()), static_cast<std::uint8_t>(color.green()),
          static_cast<std::uint8_t>(color.blue())};
}

QColor mixed(const QColor& color, const QColor& other, double share) {
  const auto mix = [share](int from, int to) {
    return static_cast<int>(std::lround(from + (to - from) * share));
  };
  return {mix(color.red(), other.red()), mix(color.green(), other.green()), mix(color.blue(), other.blue())};
}

double contrast(const QColor& one, const QColor& other) {
  const double a = luminance(one) + 0.05;
  const double b = luminance(other) + 0.05;
  return std::max(a, b) / std::min(a, b);
}

QColor readable(const QColor& color, const QColor& surface) {
  const QColor end = luminance(surface) < kMiddleLuminance ? Qt::white : Qt::black;
  QColor result = color;
  for (double share = 0; share < 1 && contrast(result, surface) < kReadable; share += kContrastStep)
    result = mixed(color, end, share + kContrastStep);
  return result;
}

Colors derive_colors(const ThemePalette& palette) {
  const auto slot = [&palette](ThemeColor color) { return to_qcolor(palette[color]); };
  Colors c;
  c.dark = palette.dark;
  c.window = slot(ThemeColor::window);
  c.menu_bar = slot(ThemeColor::menu_bar);
  c.header = slot(ThemeColor::header);
  c.alternate_row = slot(ThemeColor::alternate_row);
  c.field = slot(ThemeColor::field);
  c.disabled_field = slot(ThemeColor::disabled_field);

  c.text = readable(slot(ThemeColor::text), c.field);
  c.secondary_text = readable(slot(ThemeColor::secondary_text), c.field);
  c.disabled_text = readable(slot(ThemeColor::disabled_text), c.disabled_field);
  c.error_text = readable(slot(ThemeColor::error_text), c.window);
  c.link = readable(slot(ThemeColor::link), c.window);

  c.border = slot(ThemeColor::border);
  c.hairline = mixed(c.window, c.border, c.dark ? 0.3 : 0.7);
  if (c.dark) c.border = mixed(c.window, c.border, 0.65);
  c.frame = slot(ThemeColor::frame);
  c.accent = slot(ThemeColor::accent);
  c.focus = slot(ThemeColor::focus);
  c.selection = slot(ThemeColor::selection);
  c.selection_text = readable(slot(ThemeColor::selection_text), c.selection);
  c.entry = slot(ThemeColor::list_selection);
  c.entry_text = readable(c.selection_text, c.entry);
  c.menu = c.dark ? c.menu_bar : c.field;
  derive_buttons(palette, c);

  c.page = c.dark ? c.window : c.field;
  c.code = c.dark ? mixed(c.window, c.field, 0.4) : c.disabled_field;
  c.scroll_groove = mixed(c.window, c.field, c.dark ? 0.2 : 0.5);
  c.scroll_thumb = mixed(c.scroll_groove, c.secondary_text, 0.35);
  c.scroll_thumb_held = mixed(c.scroll_groove, c.secondary_text, 0.6);
  c.recording = slot(ThemeColor::recording);
  c.warning = slot(ThemeColor::warning_text);
  return c;
}

QPalette to_qpalette(const Colors& c) {
  QPalette palette(c.button, c.window);
  palette.setColor(QPalette::Window, c.window);
  palette.setColor(QPalette::Base, c.field);
  palette.setColor(QPalette::AlternateBase, c.alternate_row);
  palette.setColor(QPalette::Button, c.button);
  for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText}) {
    palette.setColor(role, c.text);
    palette.setColor(QPalette::Disabled, role, c.disabled_text);
  }
  palette.setColor(QPalette::BrightText, c.selection_text);
  palette.setColor(QPalette::PlaceholderText, c.secondary_text);
  palette.setColor(QPalette::ToolTipBase, c.menu);
  palette.setColor(QPalette::ToolTipText, c.text);
  palette.setColor(QPalette::Highlight, c.selection);
  palette.setColor(QPalette::HighlightedText, c.selection_text);
  palette.setColor(QPalette::Disabled, QPalette::Highlight, c.hairline);
  palette.setColor(QPalette::Disabled, QPalette::HighlightedText, c.disabled_text);
  palette.setColor(QPalette::Link, c.link);
  palette.setColor(QPalette::LinkVisited, c.link);
  return palette;
}

}  // namespace hvt::look
