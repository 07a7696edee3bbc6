#include "ui/qt/look.h"

#include <QFontDatabase>
#include <QIcon>
#include <QToolTip>

#include "ui/qt/theme_style.h"

namespace hvt::look {
namespace {

ThemeStyle& style() {
  return static_cast<ThemeStyle&>(*QApplication::style());
}

}  // namespace

SystemColors system_colors() {
  SystemColors colors;
  const auto set = [&colors](SystemColor which, Rgb color) {
    colors[static_cast<std::size_t>(which)] = color;
  };
  set(SystemColor::button_face, {244, 246, 249});
  set(SystemColor::window, {255, 255, 255});
  set(SystemColor::button_text, {31, 35, 40});
  set(SystemColor::gray_text, {88, 94, 101});
  set(SystemColor::hot_light, {0, 95, 184});
  set(SystemColor::highlight, {24, 100, 180});
  set(SystemColor::highlight_text, {255, 255, 255});
  set(SystemColor::window_frame, {178, 186, 196});
  return colors;
}

void prepare_application(QApplication& application) {
  const Colors light = derive_colors(build_theme_palette(false, system_colors()));
  application.setStyle(new ThemeStyle(light));  // owned by the application
  set_colors(light);
  QApplication::setWindowIcon(QIcon(QStringLiteral(":/HalvetricSerialTest.png")));
}

void set_colors(const Colors& colors) {
  style().set_colors(colors);
  const QPalette palette = to_qpalette(colors);
  QApplication::setPalette(palette);
  QToolTip::setPalette(palette);
}

const Colors& colors() {
  return style().colors();
}

QFont fixed_font(const QFont& interface_font) {
  QFont font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
  if (interface_font.pointSizeF() > 0) {
    font.setPointSizeF(interface_font.pointSizeF());
  } else {
    font.setPixelSize(interface_font.pixelSize());
  }
  font.setStyleHint(QFont::Monospace);
  font.setKerning(false);
  return font;
}

}  // namespace hvt::look
