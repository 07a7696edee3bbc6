#include "ui/win32/look.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

namespace hvt {
namespace {

constexpr double kReadable = 4.5;
constexpr int kStep = 10;  // percent towards black or white

double linear(BYTE channel) {
  const double value = channel / 255.0;
  return value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
}

double luminance(COLORREF color) {
  return 0.2126 * linear(GetRValue(color)) + 0.7152 * linear(GetGValue(color)) +
         0.0722 * linear(GetBValue(color));
}

}  // namespace

COLORREF mixed(COLORREF under, COLORREF over, int share) {
  const auto channel = [share](BYTE a, BYTE b) {
    return static_cast<BYTE>((a * (100 - share) + b * share) / 100);
  };
  return RGB(channel(GetRValue(under), GetRValue(over)), channel(GetGValue(under), GetGValue(over)),
             channel(GetBValue(under), GetBValue(over)));
}

double contrast(COLORREF a, COLORREF b) {
  const double first = luminance(a);
  const double second = luminance(b);
  return (std::max(first, second) + 0.05) / (std::min(first, second) + 0.05);
}

COLORREF legible(COLORREF wanted, COLORREF ground) {
  const COLORREF black = RGB(0, 0, 0);
  const COLORREF white = RGB(255, 255, 255);
  const COLORREF away = contrast(black, ground) > contrast(white, ground) ? black : white;
  for (int share = 0; share < 100; share += kStep) {
    const COLORREF color = mixed(wanted, away, share);
    if (contrast(color, ground) >= kReadable) return color;
  }
  return away;
}

Look::Look(const ThemePalette& palette) : palette_(palette) {
  for (std::size_t i = 0; i < brushes_.size(); ++i) {
    brushes_[i].reset(CreateSolidBrush(color_ref(palette.colors[i])));
    if (!brushes_[i]) throw std::runtime_error("Could not create theme brushes.");
  }
}

HBRUSH Look::brush(ThemeColor surface) const {
  return static_cast<HBRUSH>(brushes_[static_cast<std::size_t>(surface)].get());
}

COLORREF Look::filled(ThemeColor slot) const {
  return legible((*this)[slot], (*this)[ThemeColor::selection_text]);
}

COLORREF Look::text_on(COLORREF ground, ThemeColor wanted) const {
  return legible((*this)[wanted], ground);
}

}  // namespace hvt
