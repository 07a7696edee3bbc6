#include "ui/qt/theme_style.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QIcon>
#include <QPainter>
#include <QPushButton>
#include <QStyleFactory>
#include <QStyleOption>
#include <algorithm>
#include <cmath>

namespace hvt {
namespace {

constexpr qreal kCornerRadius = 4;
constexpr qreal kMarkRadius = 3;
constexpr int kMarkSize = 15;
constexpr int kSignGap = 7;

// Entries of an open drop-down list.
constexpr int kEntryMargin = 6;
constexpr int kEntryHeightMore = 6;

// Of menus.
constexpr int kMenuEntryHeightMore = 4;
constexpr int kMenuEntryWidthMore = 8;
constexpr int kMenuMarkWidth = 26;
constexpr int kMenuMargin = 4;

constexpr int kChevronWidth = 8;
constexpr int kChevronRoom = 26;

// Whether what has the keyboard is to be marked.
bool marks_focus(QStyle::State state) {
  return (state & QStyle::State_Enabled) && (state & QStyle::State_HasFocus) &&
         (state & QStyle::State_KeyboardFocusChange);
}

// The outline of a one pixel line inside `rect`, on device pixels also where the screen is scaled by a
// fraction.
QRectF outline(const QPainter& painter, const QRect& rect, qreal& line) {
  const QTransform to_device = painter.deviceTransform();
  const qreal scale = std::max(1.0, to_device.m11());
  line = std::max(1.0, std::floor(scale)) / scale;
  const QRectF device = to_device.mapRect(QRectF(rect));
  const QRectF whole(QPointF(std::round(device.left()), std::round(device.top())),
                     QPointF(std::round(device.right()), std::round(device.bottom())));
  const qreal half = line / 2;
  return to_device.inverted().mapRect(whole).adjusted(half, half, -half, -half);
}

void draw_chevron(QPainter& painter, const QRect& rect, Qt::ArrowType direction, const QColor& color,
                  int width) {
  const QPointF center = QRectF(rect).center();
  const qreal half = width / 2.0;
  painter.save();
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(QPen(color, 1.4, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
  painter.translate(center);
  constexpr int kTurns[]{0, 180, 0, 90, -90};  // row = Qt::ArrowType
  painter.rotate(kTurns[direction]);
  const QPointF points[]{{-half, -half / 2}, {0, half / 2}, {half, -half / 2}};
  painter.drawPolyline(points, 3);
  painter.restore();
}

void draw_tick(QPainter& painter, const QRectF& box, const QColor& color) {
  const auto at = [&box](qreal x, qreal y) {
    return QPointF(box.left() + x * box.width(), box.top() + y * box.height());
  };
  const QPointF tick[]{at(0.24, 0.52), at(0.43, 0.71), at(0.77, 0.31)};
  painter.setPen(QPen(color, 1.8, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
  painter.drawPolyline(tick, 3);
}

void draw_dot(QPainter& painter, const QRectF& circle, const QColor& color) {
  const qreal inset = circle.width() * 0.3;
  painter.setPen(Qt::NoPen);
  painter.setBrush(color);
  painter.drawEllipse(circle.adjusted(inset, inset, -inset, -inset));
}

}  // namespace

ThemeStyle::ThemeStyle(const look::Colors& colors)
    : QProxyStyle(QStyleFactory::create(QStringLiteral("Fusion"))), colors_(colors) {}

void ThemeStyle::draw_panel(QPainter& painter, const QRect& rect, const QColor& surface, const QColor& edge) {
  qreal line = 1;
  const QRectF shape = outline(painter, rect, line);
  painter.save();
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(QPen(edge, line));
  painter.setBrush(surface);
  painter.drawRoundedRect(shape, kCornerRadius, kCornerRadius);
  painter.restore();
}

int ThemeStyle::styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget,
                          QStyleHintReturn* returned) const {
  switch (hint) {
    case SH_ComboBox_Popup: return 0;  // opens below the box
    case SH_EtchDisabledText:
    case SH_DialogButtonBox_ButtonsHaveIcons: return 0;
    case SH_Table_GridLineColor: return static_cast<int>(colors_.hairline.rgba());
    default: return QProxyStyle::styleHint(hint, option, widget, returned);
  }
}

int ThemeStyle::pixelMetric(PixelMetric metric, const QStyleOption* option, const QWidget* widget) const {
  switch (metric) {
    case PM_FocusFrameHMargin: return kEntryMargin;
    case PM_IndicatorWidth:
    case PM_IndicatorHeight:
    case PM_ExclusiveIndicatorWidth:
    case PM_ExclusiveIndicatorHeight: return kMarkSize;
    case PM_MenuVMargin:
    case PM_MenuHMargin: return kMenuMargin;
    case PM_ButtonShiftHorizontal:
    case PM_ButtonShiftVertical: return 0;
    default: return QProxyStyle::pixelMetric(metric, option, widget);
  }
}

QSize ThemeStyle::sizeFromContents(ContentsType type, const QStyleOption* option, const QSize& contents,
                                   const QWidget* widget) const {
  const QSize size = QProxyStyle::sizeFromContents(type, option, contents, widget);
  if (type == CT_ItemViewItem) return size + QSize(0, kEntryHeightMore);
  const auto* const entry = qstyleoption_cast<const QStyleOptionMenuItem*>(option);
  if (type == CT_MenuItem && entry != nullptr && entry->menuItemType != QStyleOptionMenuItem::Separator)
    return size + QSize(kMenuEntryWidthMore, kMenuEntryHeightMore);
  return size;
}

void ThemeStyle::drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                               const QWidget* widget) const {
  switch (element) {
    case PE_PanelButtonCommand: return draw_button(*option, *painter);
    case PE_PanelLineEdit: return draw_field(*option, *painter);
    case PE_IndicatorCheckBox: return draw_mark(*option, *painter, MarkShape::box);
    case PE_IndicatorRadioButton: return draw_mark(*option, *painter, MarkShape::circle);
    case PE_PanelMenu:
    case PE_PanelTipLabel: painter->fillRect(option->rect, colors_.menu); [[fallthrough]];
    case PE_FrameMenu: return draw_frame(*painter, option->rect, colors_.frame);
    case PE_Frame:
      return draw_frame(*painter, option->rect,
                        option->state & State_HasFocus ? colors_.accent : colors_.border);
    case PE_PanelItemViewItem:
      if (option->state & State_Selected) painter->fillRect(option->rect, colors_.entry);
      return;
    case PE_FrameFocusRect:
      if (marks_focus(option->state) && qobject_cast<const QAbstractItemView*>(widget) == nullptr)
        draw_panel(*painter, option->rect, Qt::transparent, colors_.focus);
      return;
    default: return QProxyStyle::drawPrimitive(element, option, painter, widget);
  }
}

void ThemeStyle::draw_frame(QPainter& painter, const QRect& rect, const QColor& edge) const {
  qreal line = 1;
  const QRectF shape = outline(painter, rect, line);
  painter.save();
  painter.setPen(QPen(edge, line));
  painter.setBrush(Qt::NoBrush);
  painter.drawRect(shape);
  painter.restore();
}

// Of message boxes
QIcon ThemeStyle::standardIcon(StandardPixmap which, const QStyleOption* option,
                               const QWidget* widget) const {
  switch (which) {
    case SP_MessageBoxInformation: return draw_sign(colors_.primary, QLatin1Char('i'));
    case SP_MessageBoxQuestion: return draw_sign(colors_.primary, QLatin1Char('?'));
    case SP_MessageBoxWarning: return draw_sign(colors_.warning, QLatin1Char('!'));
    case SP_MessageBoxCritical: return draw_sign(colors_.recording, QLatin1Char('!'));
    default: return QProxyStyle::standardIcon(which, option, widget);
  }
}

QPixmap ThemeStyle::draw_sign(const QColor& surface, QChar sign) const {
  constexpr int kSide = 32;
  constexpr int kScale = 2;  // sharp on fine screens too
  QPixmap pixmap(kSide * kScale, kSide * kScale);
  pixmap.setDevicePixelRatio(kScale);
  pixmap.fill(Qt::transparent);
  QPainter painter(&pixmap);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(Qt::NoPen);
  painter.setBrush(surface);
  painter.drawEllipse(QRectF(1, 1, kSide - 2, kSide - 2));
  QFont font = QApplication::font();
  font.setPixelSize(kSide * 5 / 8);
  font.setBold(true);
  painter.setFont(font);
  painter.setPen(look::readable(colors_.selection_text, surface));
  painter.drawText(QRectF(0, 0, kSide, kSide), static_cast<int>(Qt::AlignCenter), QString(sign));
  return pixmap;
}

void ThemeStyle::drawControl(ControlElement element, const QStyleOption* option, QPainter* painter,
                             const QWidget* widget) const {
  if (const auto* const entry = qstyleoption_cast<const QStyleOptionMenuItem*>(option);
      element == CE_MenuItem && entry != nullptr && entry->menuItemType != QStyleOptionMenuItem::Separator) {
    return draw_menu_entry(*entry, *painter);
  }
  if (const auto* const button = qstyleoption_cast<const QStyleOptionButton*>(option);
      element == CE_PushButtonLabel && button != nullptr) {
    return draw_button_label(*button, *painter, widget);
  }
  if (element == CE_MenuEmptyArea) return;
  QProxyStyle::drawControl(element, option, painter, widget);
}

void ThemeStyle::drawComplexControl(ComplexControl control, const QStyleOptionComplex* option,
                                    QPainter* painter, const QWidget* widget) const {
  if (const auto* const bar = qstyleoption_cast<const QStyleOptionSlider*>(option);
      control == CC_ScrollBar && bar != nullptr) {
    return draw_scroll_bar(*bar, *painter, widget);
  }
  if (const auto* const choice = qstyleoption_cast<const QStyleOptionComboBox*>(option);
      control == CC_ComboBox && choice != nullptr && !choice->editable) {
    return draw_choice(*choice, *painter);
  }
  QProxyStyle::drawComplexControl(control, option, painter, widget);
}

// Buttons and fields

namespace {

// The button that a press of Enter means, in a dialog, or the one that acts on the line.
bool is_primary(const QStyleOption& option) {
  const auto* const button = qstyleoption_cast<const QStyleOptionButton*>(&option);
  return button != nullptr && (button->features & QStyleOptionButton::DefaultButton) &&
         (option.state & QStyle::State_Enabled);
}

}  // namespace

void ThemeStyle::draw_button(const QStyleOption& option, QPainter& painter) const {
  const bool enabled = option.state & State_Enabled;
  const bool held = option.state & (State_Sunken | State_On);
  const bool hovered = option.state & State_MouseOver;
  if (is_primary(option)) {
    const QColor& surface = held      ? colors_.pressed_primary
                            : hovered ? colors_.hovered_primary
                                      : colors_.primary;
    draw_panel(painter, option.rect, surface, marks_focus(option.state) ? colors_.text : surface);
    return;
  }
  const QColor& surface = !enabled  ? colors_.disabled_button
                          : held    ? colors_.pressed_button
                          : hovered ? colors_.hovered_button
                                    : colors_.button;
  const QColor& edge = marks_focus(option.state)      ? colors_.focus
                       : enabled && (held || hovered) ? colors_.accent
                       : enabled                      ? colors_.border
                                                      : colors_.hairline;
  draw_panel(painter, option.rect, surface, edge);
}

void ThemeStyle::draw_button_label(const QStyleOptionButton& option, QPainter& painter,
                                   const QWidget* widget) const {
  QStyleOptionButton label(option);
  const bool held = option.state & (State_Sunken | State_On);
  const QColor& text = is_primary(option) ? colors_.primary_text
                       : held             ? look::readable(colors_.text, colors_.pressed_button)
                                          : label.palette.color(QPalette::ButtonText);
  label.palette.setColor(QPalette::ButtonText, text);
  // The caption comes first: a sign that would crowd it is left out.
  const int beside_caption = label.rect.width() - label.fontMetrics.horizontalAdvance(label.text);
  if (beside_caption < label.iconSize.width() + 2 * kSignGap) label.icon = QIcon();
  QProxyStyle::drawControl(CE_PushButtonLabel, &label, &painter, widget);
}

const QColor& ThemeStyle::edge_of_field(State state) const {
  if (!(state & State_Enabled)) return colors_.hairline;
  if (state & State_HasFocus) return colors_.accent;
  return state & State_MouseOver ? colors_.secondary_text : colors_.border;
}

void ThemeStyle::draw_field(const QStyleOption& option, QPainter& painter) const {
  const bool enabled = option.state & State_Enabled;
  const QColor surface = enabled ? option.palette.color(QPalette::Base) : colors_.disabled_field;
  draw_panel(painter, option.rect, surface, edge_of_field(option.state));
}

void ThemeStyle::draw_choice(const QStyleOptionComplex& option, QPainter& painter) const {
  const bool enabled = option.state & State_Enabled;
  draw_panel(painter, option.rect, enabled ? colors_.field : colors_.disabled_field,
             edge_of_field(option.state));
  const QRect arrow(option.rect.right() + 1 - kChevronRoom, option.rect.top(), kChevronRoom,
                    option.rect.height());
  draw_chevron(painter, arrow, Qt::DownArrow, enabled ? colors_.secondary_text : colors_.disabled_text,
               kChevronWidth);
}

// The box or circle of a check box or radio button, and in it what says that it is checked.
void ThemeStyle::draw_mark(const QStyleOption& option, QPainter& painter, MarkShape shape) const {
  const bool enabled = option.state & State_Enabled;
  const bool checked = option.state & (State_On | State_NoChange);
  const QColor full = enabled ? colors_.primary : colors_.disabled_text;
  const QColor& empty = enabled ? colors_.secondary_text : colors_.border;
  const QColor sign = enabled ? colors_.primary_text : colors_.disabled_field;
  qreal line = 1;
  const QRectF outside = outline(painter, option.rect, line);
  painter.save();
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(QPen(checked ? full : empty, line));
  painter.setBrush(checked ? full : enabled ? colors_.field : colors_.disabled_field);
  if (shape == MarkShape::box) {
    painter.drawRoundedRect(outside, kMarkRadius, kMarkRadius);
    if (checked) draw_tick(painter, outside, sign);
  } else {
    painter.drawEllipse(outside);
    if (checked) draw_dot(painter, outside, sign);
  }
  painter.restore();
}

// Menus

void ThemeStyle::draw_menu_entry(const QStyleOptionMenuItem& option, QPainter& painter) const {
  const bool enabled = option.state & State_Enabled;
  const bool chosen = enabled && (option.state & State_Selected);
  if (chosen) draw_panel(painter, option.rect.adjusted(1, 0, -1, 0), colors_.entry, colors_.entry);
  const QColor& color = chosen ? colors_.entry_text : enabled ? colors_.text : colors_.disabled_text;
  if (option.checked) {
    const QRectF mark(option.rect.left(), option.rect.top(), kMenuMarkWidth, option.rect.height());
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(color);
    painter.drawEllipse(mark.center(), 3.0, 3.0);
    painter.restore();
  }
  const qsizetype tab = option.text.indexOf(QLatin1Char('\t'));
  const QRect text = option.rect.adjusted(kMenuMarkWidth, 0, -kMenuMarkWidth / 2, 0);
  painter.setFont(option.font);
  painter.setPen(color);
  constexpr int kFlags = Qt::AlignVCenter | Qt::TextShowMnemonic | Qt::TextSingleLine | Qt::TextDontClip;
  painter.drawText(text, kFlags | Qt::AlignLeft, option.text.left(tab < 0 ? option.text.size() : tab));
  if (tab < 0) return;
  painter.setPen(chosen ? color : enabled ? colors_.secondary_text : colors_.disabled_text);
  painter.drawText(text, kFlags | Qt::AlignRight, option.text.mid(tab + 1));
}

// Scroll bars

void ThemeStyle::draw_scroll_bar(const QStyleOptionSlider& bar, QPainter& painter,
                                 const QWidget* widget) const {
  const bool vertical = bar.orientation == Qt::Vertical;
  painter.save();
  painter.fillRect(bar.rect, colors_.scroll_groove);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(Qt::NoPen);
  if (bar.maximum > bar.minimum) {
    const QRectF thumb = subControlRect(CC_ScrollBar, &bar, SC_ScrollBarSlider, widget);
    const bool held = (bar.activeSubControls & SC_ScrollBarSlider) && (bar.state & State_Enabled);
    painter.setBrush(held ? colors_.scroll_thumb_held : colors_.scroll_thumb);
    const QRectF shape = vertical ? thumb.adjusted(4, 1, -3, -1) : thumb.adjusted(1, 4, -1, -3);
    painter.drawRoundedRect(shape, kCornerRadius, kCornerRadius);
  }
  painter.restore();
  draw_scroll_arrow(bar, painter, SC_ScrollBarSubLine, vertical ? Qt::UpArrow : Qt::LeftArrow, widget);
  draw_scroll_arrow(bar, painter, SC_ScrollBarAddLine, vertical ? Qt::DownArrow : Qt::RightArrow, widget);
}

void ThemeStyle::draw_scroll_arrow(const QStyleOptionSlider& bar, QPainter& painter, SubControl part,
                                   Qt::ArrowType direction, const QWidget* widget) const {
  const bool used = bar.maximum > bar.minimum;
  constexpr int kArrowWidth = 6;
  draw_chevron(painter, subControlRect(CC_ScrollBar, &bar, part, widget), direction,
               used ? colors_.secondary_text : colors_.scroll_thumb, kArrowWidth);
}

}  // namespace hvt
