#include "ui/qt/bar_button.h"

#include <QPainter>
#include <QStyleOptionButton>

#include "ui/qt/look.h"
#include "ui/qt/theme_style.h"

namespace hvt {

BarButton::BarButton(ControlKind kind, QWidget* parent) : CommandButton(parent), kind_(kind) {
  setFlat(true);
  // A click leaves the keyboard where it is: the menu that opens takes the keys by itself.
  setFocusPolicy(Qt::TabFocus);
  setAttribute(Qt::WA_Hover);
}

void BarButton::set_open(bool open) {
  if (open_ == open) return;
  open_ = open;
  update();
}

QColor BarButton::surface() const {
  const look::Colors& colors = look::colors();
  if (kind_ == ControlKind::badge)
    return underMouse() || isDown() ? look::mixed(colors.badge, colors.text, 0.15) : colors.badge;
  if (open_ || isDown()) return colors.pressed_bar;
  return underMouse() ? colors.hovered_bar : colors.menu_bar;
}

void BarButton::paintEvent(QPaintEvent*) {
  const look::Colors& colors = look::colors();
  QStyleOptionButton option;
  initStyleOption(&option);
  QPainter painter(this);
  const bool keyboard =
      (option.state & QStyle::State_HasFocus) && (option.state & QStyle::State_KeyboardFocusChange);
  const QColor back = surface();
  ThemeStyle::draw_panel(painter, rect(), back, keyboard ? colors.focus : back);
  painter.setPen(look::readable(kind_ == ControlKind::badge ? colors.badge_text : colors.text, back));
  painter.drawText(rect(), static_cast<int>(Qt::AlignCenter | Qt::TextShowMnemonic), text());
}

}  // namespace hvt
