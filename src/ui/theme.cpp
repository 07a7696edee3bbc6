#include "ui/theme.h"

#include <variant>

namespace hvt {
namespace {

using enum SystemColor;

struct SlotColors {
  std::variant<Rgb, SystemColor> light;
  Rgb dark;
};

// Row = slot.
constexpr std::array<SlotColors, kThemeColorCount> kSlots{{
    {button_face, {30, 30, 30}},
    {Rgb{220, 220, 220}, {37, 37, 38}},
    {Rgb{220, 233, 248}, {37, 37, 38}},
    {Rgb{238, 244, 250}, {50, 50, 50}},
    {window, {60, 60, 60}},
    {Rgb{242, 242, 242}, {42, 45, 46}},
    {Rgb{96, 96, 96}, {69, 69, 69}},
    {button_text, {204, 204, 204}},
    {gray_text, {166, 166, 166}},
    {Rgb{192, 192, 192}, {133, 133, 133}},
    {Rgb{0, 0, 255}, {86, 156, 214}},
    {Rgb{255, 128, 0}, {206, 145, 120}},
    {Rgb{180, 90, 0}, {215, 186, 125}},
    {Rgb{255, 0, 0}, {244, 135, 113}},
    {hot_light, {0, 122, 204}},
    {highlight, {38, 79, 120}},
    {highlight_text, {255, 255, 255}},
    {gray_text, {121, 121, 121}},
    {Rgb{173, 255, 47}, {22, 130, 93}},
    {window, {30, 30, 30}},
    {Rgb{0, 0, 0}, {212, 212, 212}},
    {button_face, {60, 60, 60}},
    {highlight, {0, 120, 212}},
    {highlight, {4, 57, 94}},
    {hot_light, {0, 127, 212}},
    {Rgb{0, 0, 255}, {55, 148, 255}},
    {Rgb{229, 241, 255}, {0, 122, 204}},
    {Rgb{255, 0, 0}, {244, 71, 71}},
    {window_frame, {107, 107, 107}},
}};

Rgb light_color(const SlotColors& slot, const SystemColors& system) {
  const auto* const own = std::get_if<Rgb>(&slot.light);
  return own != nullptr ? *own : system[static_cast<std::size_t>(std::get<SystemColor>(slot.light))];
}

}  // namespace

bool resolve_dark_theme(std::wstring_view theme, bool desktop_prefers_dark) {
  return theme == kThemeDark || (theme == kThemeSystem && desktop_prefers_dark);
}

ThemePalette build_theme_palette(bool dark, const SystemColors& system) {
  ThemePalette palette{.dark = dark};
  for (std::size_t i = 0; i < kThemeColorCount; ++i)
    palette.colors[i] = dark ? kSlots[i].dark : light_color(kSlots[i], system);
  return palette;
}

}  // namespace hvt
