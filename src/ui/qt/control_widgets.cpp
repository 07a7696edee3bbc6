#include "ui/qt/control_widgets.h"

#include <QAbstractItemView>
#include <QCheckBox>
#include <QHelpEvent>
#include <QLineEdit>
#include <QPainter>
#include <QRadioButton>
#include <QTextDocument>
#include <QToolTip>
#include <QWheelEvent>
#include <algorithm>

#include "transmit/packet_text.h"
#include "ui/qt/bar_button.h"
#include "ui/qt/command_button.h"
#include "ui/qt/look.h"
#include "ui/qt/receive_view_widget.h"

namespace hvt {
namespace {

constexpr int kMaxVisibleEntries = 20;
constexpr int kFieldMargin = 3;  // between the edge of a packet field and its text

QWidget* create_packet_edit(QWidget* parent) {
  auto* const edit = new QLineEdit(parent);
  edit->setMaxLength(static_cast<int>(kMaxPacketCharacters));
  edit->setTextMargins(kFieldMargin, 0, kFieldMargin, 0);
  return edit;
}

QWidget* create_number_edit(QWidget* parent) {
  auto* const edit = new QLineEdit(parent);
  edit->setMaxLength(static_cast<int>(kMaxNumberCharacters));
  edit->setAlignment(Qt::AlignRight);
  return edit;
}

QWidget* create_name_edit(QWidget* parent) {
  auto* const edit = new QLineEdit(parent);
  edit->setMaxLength(static_cast<int>(kMaxNameCharacters));
  edit->setTextMargins(kFieldMargin, 0, kFieldMargin, 0);
  return edit;
}

QWidget* create_radio(QWidget* parent) {
  auto* const radio = new QRadioButton(parent);
  radio->setAutoExclusive(false);  // the groups are told apart by the table, not by the parent
  return radio;
}

QWidget* create_by_kind(const ControlRow& row, QWidget* parent) {
  switch (row.kind) {
    case ControlKind::label:
    case ControlKind::title:
    case ControlKind::counter: return new QLabel(parent);
    case ControlKind::button: return new CommandButton(parent);
    case ControlKind::menu_button:
    case ControlKind::bar_button:
    case ControlKind::badge: return new BarButton(row.kind, parent);
    case ControlKind::check: return new QCheckBox(parent);
    case ControlKind::radio: return create_radio(parent);
    case ControlKind::choice: return new ChoiceBox(parent);
    case ControlKind::packet_edit: return create_packet_edit(parent);
    case ControlKind::number_edit: return create_number_edit(parent);
    case ControlKind::name_edit: return create_name_edit(parent);
    case ControlKind::receive_view: return new ReceiveViewWidget(parent);
    case ControlKind::status: return new StatusLine(parent);
  }
  return nullptr;
}

}  // namespace

ChoiceBox::ChoiceBox(QWidget* parent) : QComboBox(parent) {
  setMaxVisibleItems(kMaxVisibleEntries);
  setFocusPolicy(Qt::StrongFocus);
}

int ChoiceBox::widest_entry() const {
  int widest = fontMetrics().horizontalAdvance(placeholderText());
  for (int i = 0; i < count(); ++i)
    widest = std::max(widest, fontMetrics().horizontalAdvance(itemText(i)));
  return widest;
}

void ChoiceBox::showPopup() {
  view()->setMinimumWidth(view()->sizeHintForColumn(0) + 2 * view()->frameWidth());
  QComboBox::showPopup();
}

void ChoiceBox::wheelEvent(QWheelEvent* event) {
  if (hasFocus()) {
    QComboBox::wheelEvent(event);
  } else {
    event->ignore();
  }
}

StatusLine::StatusLine(QWidget* parent) : QLabel(parent) {
  setTextFormat(Qt::PlainText);
}

void StatusLine::show_text(const QString& text, StatusTone tone) {
  if (tone_ != tone) update();
  tone_ = tone;
  setText(text);
}

void StatusLine::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.setPen(tone_ == StatusTone::error ? look::colors().error_text : look::colors().text);
  const QString shown = fontMetrics().elidedText(text(), Qt::ElideRight, width());
  painter.drawText(rect(), static_cast<int>(Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine), shown);
}

bool StatusLine::event(QEvent* event) {
  if (event->type() != QEvent::ToolTip) return QLabel::event(event);
  const bool fits = fontMetrics().horizontalAdvance(text()) <= width();
  const QString whole =
      fits ? QString() : Qt::convertFromPlainText(text());  // it may look like marked-up text
  QToolTip::showText(static_cast<QHelpEvent*>(event)->globalPos(), whole, this);
  return true;
}

QWidget* create_control_widget(const ControlRow& row, QWidget* parent) {
  QWidget* const widget = create_by_kind(row, parent);
  widget->setObjectName(QLatin1StringView(row.name.data(), static_cast<qsizetype>(row.name.size())));
  return widget;
}

}  // namespace hvt
