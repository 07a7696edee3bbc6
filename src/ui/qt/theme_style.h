#pragma once

#include <QProxyStyle>

#include "ui/qt/theme_colors.h"

class QStyleOptionButton;
class QStyleOptionMenuItem;
class QStyleOptionSlider;

namespace hvt {

// How everything is drawn: flat surfaces with thin frames in the colours of the theme, on top of the
// toolkit's Fusion style.
//
// Promises  draws in the colours set last; setting them draws nothing by itself.
// Threads   the interface thread.
// Ends      with the application, which owns it.
class ThemeStyle final : public QProxyStyle {
 public:
  explicit ThemeStyle(const look::Colors& colors);

  void set_colors(const look::Colors& colors) { colors_ = colors; }
  const look::Colors& colors() const { return colors_; }

  // A rounded surface with a thin edge, on whole device pixels.
  static void draw_panel(QPainter& painter, const QRect& rect, const QColor& surface, const QColor& edge);

  int styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget,
                QStyleHintReturn* returned) const override;
  int pixelMetric(PixelMetric metric, const QStyleOption* option, const QWidget* widget) const override;
  QSize sizeFromContents(ContentsType type, const QStyleOption* option, const QSize& contents,
                         const QWidget* widget) const override;
  void drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                     const QWidget* widget) const override;
  QIcon standardIcon(StandardPixmap which, const QStyleOption* option, const QWidget* widget) const override;
  void drawControl(ControlElement element, const QStyleOption* option, QPainter* painter,
                   const QWidget* widget) const override;
  void drawComplexControl(ComplexControl control, const QStyleOptionComplex* option, QPainter* painter,
                          const QWidget* widget) const override;

 private:
  void draw_button(const QStyleOption& option, QPainter& painter, const QWidget* widget) const;
  void draw_button_label(const QStyleOptionButton& option, QPainter& painter, const QWidget* widget) const;
  void draw_field(const QStyleOption& option, QPainter& painter) const;
  void draw_check_mark(const QStyleOption& option, QPainter& painter) const;
  void draw_radio_mark(const QStyleOption& option, QPainter& painter) const;
  void draw_frame(QPainter& painter, const QRect& rect, const QColor& edge) const;
  QPixmap draw_sign(const QColor& surface, QChar sign) const;
  void draw_choice(const QStyleOptionComplex& option, QPainter& painter, const QWidget* widget) const;
  void draw_menu_entry(const QStyleOptionMenuItem& option, QPainter& painter, const QWidget* widget) const;
  void draw_scroll_bar(const QStyleOptionSlider& bar, QPainter& painter, const QWidget* widget) const;
  void draw_scroll_arrow(const QStyleOptionSlider& bar, QPainter& painter, SubControl part,
                         Qt::ArrowType direction, const QWidget* widget) const;

  look::Colors colors_;
};

}  // namespace hvt
