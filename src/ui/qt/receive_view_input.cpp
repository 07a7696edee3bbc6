// Selecting, scrolling and copying in the receive view, by mouse and keyboard.

#include <QApplication>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QKeyEvent>
#include <QMenu>
#include <QMouseEvent>
#include <QTimerEvent>
#include <algorithm>

#include "base/text.h"
#include "ui/qt/qt_text.h"
#include "ui/qt/receive_view_widget.h"

namespace hvt {
namespace {

constexpr int kDragScrollMilliseconds = 40;
// A copy is put together in slices, so that only one form of the whole text exists.
constexpr std::uint64_t kCopySlice = 65536;

}  // namespace

// The selection

ReceiveViewWidget::Range ReceiveViewWidget::selection() const {
  const auto inside = [this](Position p) { return std::clamp(p, document_.first(), document_.end()); };
  return {inside(std::min(anchor_, caret_)), inside(std::max(anchor_, caret_))};
}

void ReceiveViewWidget::set_selection(Position anchor, Position caret) {
  anchor_ = anchor;
  caret_ = caret;
  viewport()->update();
}

void ReceiveViewWidget::select_all() {
  set_selection(document_.first(), document_.end());
}

QString ReceiveViewWidget::selected_text() const {
  QString result;
  const Range range = selection();
  result.reserve(static_cast<qsizetype>(range.end - range.begin));
  for (Position begin = range.begin; begin < range.end; begin += kCopySlice) {
    result += to_qstring(document_.text({begin, std::min(begin + kCopySlice, range.end)}));
  }
  return result;
}

void ReceiveViewWidget::copy() const {
  if (!selection().empty()) QApplication::clipboard()->setText(selected_text());
}

// From points to positions and back

ReceiveViewWidget::Position ReceiveViewWidget::position_at(QPoint point, Snap snap) const {
  if (document_.empty()) return document_.first();
  const int line = point.y() < kMargin ? 0 : (point.y() - kMargin) / row_height_;
  const Row row = top_row_ + static_cast<Row>(line);
  return position_in_row(row, (point.x() - kMargin) / cell_width_, snap);
}

ReceiveViewWidget::Position ReceiveViewWidget::position_in_row(Row row, double cell, Snap snap) const {
  const Range range = document_.row_range(row);
  Position position = range.begin;
  double left = 0;
  for (const wchar_t unit : document_.text(range)) {
    const double width = cell_width(unit);
    const double limit = left + (snap == Snap::nearest ? width / 2 : width);
    if (cell < limit && !is_low_surrogate(unit)) break;
    left += width;
    ++position;
  }
  return position;
}

std::size_t ReceiveViewWidget::cell_of(Position position) const {
  return cells_in(document_.text({document_.row_range(document_.row_of(position)).begin, position}));
}

// The mouse

ReceiveViewWidget::Range ReceiveViewWidget::unit_around(QPoint point) const {
  if (select_by_ == SelectBy::word) return document_.word_around(position_at(point, Snap::under));
  if (select_by_ == SelectBy::line) return document_.line_around(position_at(point, Snap::under));
  const Position position = position_at(point, Snap::nearest);
  return {position, position};
}

void ReceiveViewWidget::begin_selection(QPoint point, SelectBy by) {
  select_by_ = by;
  origin_ = unit_around(point);
  set_selection(origin_.begin, origin_.end);
}

// From what the press selected to what is under the pointer now, in whole units.
void ReceiveViewWidget::extend_selection(QPoint point) {
  const Range unit = unit_around(point);
  if (unit.begin < origin_.begin) {
    set_selection(origin_.end, unit.begin);
  } else {
    set_selection(origin_.begin, std::max(unit.end, origin_.end));
  }
}

void ReceiveViewWidget::mousePressEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton) return;
  const QPoint point = event->position().toPoint();
  const bool third_click = since_double_click_.isValid() &&
                           !since_double_click_.hasExpired(QApplication::doubleClickInterval()) &&
                           (point - drag_point_).manhattanLength() < QApplication::startDragDistance();
  since_double_click_.invalidate();
  drag_point_ = point;
  if (third_click) {
    begin_selection(point, SelectBy::line);
  } else if (event->modifiers().testFlag(Qt::ShiftModifier)) {
    select_by_ = SelectBy::character;
    origin_ = {anchor_, anchor_};
    extend_selection(point);
  } else {
    begin_selection(point, SelectBy::character);
  }
}

void ReceiveViewWidget::mouseDoubleClickEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton) return;
  drag_point_ = event->position().toPoint();
  since_double_click_.start();
  begin_selection(drag_point_, SelectBy::word);
}

void ReceiveViewWidget::mouseMoveEvent(QMouseEvent* event) {
  if (!event->buttons().testFlag(Qt::LeftButton)) return;
  drag_point_ = event->position().toPoint();
  extend_selection(drag_point_);
  const bool outside = drag_point_.y() < 0 || drag_point_.y() >= viewport()->height();
  if (!outside) {
    drag_timer_.stop();
  } else if (!drag_timer_.isActive()) {
    drag_timer_.start(kDragScrollMilliseconds, this);
  }
}

void ReceiveViewWidget::mouseReleaseEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton) return;
  drag_timer_.stop();
  QClipboard* const clipboard = QApplication::clipboard();
  if (clipboard->supportsSelection() && !selection().empty()) {
    clipboard->setText(selected_text(), QClipboard::Selection);
  }
}

// The pointer is held above or below the view: scroll the faster the farther it is away.
void ReceiveViewWidget::timerEvent(QTimerEvent* event) {
  if (event->timerId() != drag_timer_.timerId()) {
    QAbstractScrollArea::timerEvent(event);
    return;
  }
  const int beyond = drag_point_.y() < 0 ? drag_point_.y() : drag_point_.y() - viewport()->height() + 1;
  scroll_by(beyond / row_height_ + (beyond < 0 ? -1 : 1));
  extend_selection(drag_point_);
}

void ReceiveViewWidget::contextMenuEvent(QContextMenuEvent* event) {
  QMenu menu(this);
  const auto caption = [this](TextId id) { return to_qstring(text(id, language_)); };
  QAction* const copy_action = menu.addAction(caption(TextId::copy), this, [this] { copy(); });
  copy_action->setShortcut(QKeySequence::Copy);
  copy_action->setEnabled(!selection().empty());
  QAction* const all_action = menu.addAction(caption(TextId::select_all), this, [this] { select_all(); });
  all_action->setShortcut(QKeySequence::SelectAll);
  all_action->setEnabled(!document_.empty());
  menu.exec(event->globalPos());
}

// The keyboard

void ReceiveViewWidget::keyPressEvent(QKeyEvent* event) {
  if (event->matches(QKeySequence::Copy)) {
    copy();
  } else if (event->matches(QKeySequence::SelectAll)) {
    select_all();
  } else {
    const bool extend = event->modifiers().testFlag(Qt::ShiftModifier);
    event->setAccepted(extend ? extend_with_key(*event) : scroll_with_key(*event));
  }
}

bool ReceiveViewWidget::scroll_with_key(const QKeyEvent& event) {
  const auto page = std::max<std::int64_t>(1, static_cast<std::int64_t>(visible_rows()) - 1);
  switch (event.key()) {
    case Qt::Key_Up: scroll_by(-1); return true;
    case Qt::Key_Down: scroll_by(1); return true;
    case Qt::Key_PageUp: scroll_by(-page); return true;
    case Qt::Key_PageDown: scroll_by(page); return true;
    case Qt::Key_Home: scroll_to(document_.first_row()); return true;
    case Qt::Key_End: scroll_to(tail_top()); return true;
    default: return false;
  }
}

bool ReceiveViewWidget::extend_with_key(const QKeyEvent& event) {
  const bool whole = event.modifiers().testFlag(Qt::ControlModifier);
  const auto page = std::max<std::int64_t>(1, static_cast<std::int64_t>(visible_rows()) - 1);
  const Position from = std::clamp(caret_, document_.first(), document_.end());
  const Range row = document_.row_range(document_.row_of(from));
  Position to = from;
  switch (event.key()) {
    case Qt::Key_Left: to = previous(from); break;
    case Qt::Key_Right: to = next(from); break;
    case Qt::Key_Up: to = step_rows(from, -1); break;
    case Qt::Key_Down: to = step_rows(from, 1); break;
    case Qt::Key_PageUp: to = step_rows(from, -page); break;
    case Qt::Key_PageDown: to = step_rows(from, page); break;
    case Qt::Key_Home: to = whole ? document_.first() : row.begin; break;
    case Qt::Key_End: to = whole ? document_.end() : row.end; break;
    default: return false;
  }
  set_selection(anchor_, to);
  bring_into_view(to);
  return true;
}

ReceiveViewWidget::Position ReceiveViewWidget::next(Position from) const {
  const std::wstring units = document_.text({from, from + 2});
  return std::min(document_.end(), from + (units.size() == 2 && is_low_surrogate(units[1]) ? 2 : 1));
}

ReceiveViewWidget::Position ReceiveViewWidget::previous(Position from) const {
  if (from <= document_.first()) return document_.first();
  const std::wstring unit = document_.text({from - 1, from});
  return std::max(document_.first(), from - (is_low_surrogate(unit[0]) ? std::min<Position>(from, 2) : 1));
}

ReceiveViewWidget::Position ReceiveViewWidget::step_rows(Position from, std::int64_t rows) const {
  const Row row = document_.row_of(from);
  const auto above = static_cast<std::int64_t>(row - document_.first_row());
  const auto below = static_cast<std::int64_t>(document_.last_row() - row);
  if (above + rows < 0) return document_.first();
  if (rows > below) return document_.end();
  const Row target = document_.first_row() + static_cast<Row>(above + rows);
  return position_in_row(target, static_cast<double>(cell_of(from)), Snap::nearest);
}

void ReceiveViewWidget::bring_into_view(Position position) {
  const Row row = document_.row_of(position);
  if (row < top_row_) scroll_to(row);
  if (row >= top_row_ + visible_rows()) scroll_to(row - visible_rows() + 1);
}

}  // namespace hvt
