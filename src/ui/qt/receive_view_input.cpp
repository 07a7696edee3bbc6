// Scrolling, moving the caret, selecting and copying in the receive view, by mouse and keyboard.

#include <QAccessible>
#include <QApplication>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QKeyEvent>
#include <QMenu>
#include <QMouseEvent>
#include <QScrollBar>
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

// Going elsewhere

// Keys and the wheel over the text move the scroll bar too; only a press on the bar itself counts whatever
// its direction.
void ReceiveViewWidget::watch_scroll_bar() {
  QScrollBar* const bar = verticalScrollBar();
  connect(bar, &QScrollBar::sliderPressed, this, [this] { went_elsewhere(); });
  connect(bar, &QScrollBar::actionTriggered, this, [this, bar](int action) {
    const bool pressed =
        action == QAbstractSlider::SliderSingleStepAdd || action == QAbstractSlider::SliderPageStepAdd;
    if (pressed || bar->sliderPosition() < bar->value()) went_elsewhere();
  });
}

void ReceiveViewWidget::scrollContentsBy(int, int) {
  top_row_ = scroll_bar_first_row_ + static_cast<Row>(verticalScrollBar()->value());
  top_row_ = std::clamp(top_row_, document_.first_row(), tail_top());
  viewport()->update();
}

// After a person did something: is the end still what this is about? A selection is not, wherever it lies,
// because the next text would take it away.
void ReceiveViewWidget::went(Row top_before) {
  if (top_row_ < top_before || !selection().empty() || !document_.on_one_line(caret_, document_.end()))
    went_elsewhere();
}

void ReceiveViewWidget::went_elsewhere() {
  follows_ = false;
  if (navigated_) navigated_();
}

void ReceiveViewWidget::focusInEvent(QFocusEvent* event) {
  QAbstractScrollArea::focusInEvent(event);
  viewport()->update();  // the caret
}

void ReceiveViewWidget::focusOutEvent(QFocusEvent* event) {
  QAbstractScrollArea::focusOutEvent(event);
  viewport()->update();
}

// The selection

ReceiveViewWidget::Range ReceiveViewWidget::selection() const {
  const auto inside = [this](Position p) { return std::clamp(p, document_.first(), document_.end()); };
  return {inside(std::min(anchor_, caret_)), inside(std::max(anchor_, caret_))};
}

void ReceiveViewWidget::set_selection(Position anchor, Position caret) {
  anchor_ = anchor;
  caret_ = caret;
  viewport()->update();
  if (!QAccessible::isActive()) return;
  const auto offset = [this](Position position) { return static_cast<int>(position - document_.first()); };
  const Range range = selection();
  QAccessibleTextSelectionEvent event(this, offset(range.begin), offset(range.end));
  event.setCursorPosition(offset(std::clamp(caret, document_.first(), document_.end())));
  QAccessible::updateAccessibility(&event);
}

// What a press or a key does, told by position.
void ReceiveViewWidget::go_to(Position anchor, Position caret) {
  const Row top = top_row_;
  set_selection(anchor, caret);
  bring_into_view(caret);
  went(top);
}

void ReceiveViewWidget::select_all() {
  set_selection(document_.first(), document_.end());
  went(top_row_);
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
  const int line = std::max(0, point.y() - CellGrid::kMargin) / grid_.row_height();
  const Row row = top_row_ + static_cast<Row>(line);
  return position_in_row(row, (point.x() - CellGrid::kMargin) / grid_.cell_width(), snap);
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
  wanted_cell_.reset();
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
  went(top_row_);
}

void ReceiveViewWidget::mouseDoubleClickEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton) return;
  drag_point_ = event->position().toPoint();
  since_double_click_.start();
  begin_selection(drag_point_, SelectBy::word);
  went(top_row_);
}

void ReceiveViewWidget::mouseMoveEvent(QMouseEvent* event) {
  if (!event->buttons().testFlag(Qt::LeftButton)) return;
  drag_point_ = event->position().toPoint();
  extend_selection(drag_point_);
  went(top_row_);
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
  const Row top = top_row_;
  scroll_by(beyond / grid_.row_height() + (beyond < 0 ? -1 : 1));
  extend_selection(drag_point_);
  went(top);
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
  const Row top = top_row_;
  if (event->matches(QKeySequence::Copy)) return copy();
  if (event->matches(QKeySequence::SelectAll)) return select_all();
  if (scroll_with_key(*event)) return went(top);
  const std::optional<Position> caret = caret_after(*event);
  event->setAccepted(caret.has_value());
  if (!caret) return;
  go_to(event->modifiers().testFlag(Qt::ShiftModifier) ? anchor_ : *caret, *caret);
}

// The caret stays where it is.
bool ReceiveViewWidget::scroll_with_key(const QKeyEvent& event) {
  if (event.modifiers() != Qt::ControlModifier) return false;
  switch (event.key()) {
    case Qt::Key_Up: scroll_by(-1); return true;
    case Qt::Key_Down: scroll_by(1); return true;
    case Qt::Key_PageUp: scroll_by(-page_rows()); return true;
    case Qt::Key_PageDown: scroll_by(page_rows()); return true;
    default: return false;
  }
}

std::int64_t ReceiveViewWidget::page_rows() const {
  return std::max<std::int64_t>(1, static_cast<std::int64_t>(visible_rows()) - 1);
}

// Nothing for a key that does not move the caret.
std::optional<ReceiveViewWidget::Position> ReceiveViewWidget::caret_after(const QKeyEvent& event) {
  const Position from = std::clamp(caret_, document_.first(), document_.end());
  switch (event.key()) {
    case Qt::Key_Up: return step_rows(from, -1);
    case Qt::Key_Down: return step_rows(from, 1);
    case Qt::Key_PageUp: return step_rows(from, -page_rows());
    case Qt::Key_PageDown: return step_rows(from, page_rows());
    default: break;
  }
  const bool whole = event.modifiers().testFlag(Qt::ControlModifier);
  wanted_cell_.reset();
  switch (event.key()) {
    case Qt::Key_Left: return whole ? previous_word(from) : previous(from);
    case Qt::Key_Right: return whole ? next_word(from) : next(from);
    case Qt::Key_Home: return whole ? document_.first() : document_.row_range(document_.row_of(from)).begin;
    case Qt::Key_End:
      return whole ? document_.end() : row_end(from, event.modifiers().testFlag(Qt::ShiftModifier));
    default: return std::nullopt;
  }
}

// The position behind a row that goes on in the next one is the start of that: a caret stays before its last
// character, a selection takes it in.
ReceiveViewWidget::Position ReceiveViewWidget::row_end(Position from, bool selecting) const {
  const Row row = document_.row_of(from);
  const Position end = document_.row_range(row).end;
  return selecting || document_.row_of(end) == row ? end : previous(end);
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

// Words and what lies between them are one step each; spaces belong to the step before them.
ReceiveViewWidget::Position ReceiveViewWidget::next_word(Position from) const {
  Position to = std::max(next(from), document_.word_around(from).end);
  while (document_.text({to, to + 1}) == L" ")
    to = document_.word_around(to).end;
  return to;
}

ReceiveViewWidget::Position ReceiveViewWidget::previous_word(Position from) const {
  Position to = previous(from);
  if (document_.text({to, to + 1}) == L" ") to = previous(document_.word_around(to).begin);
  return std::min(to, document_.word_around(to).begin);
}

ReceiveViewWidget::Position ReceiveViewWidget::step_rows(Position from, std::int64_t rows) {
  const Row row = document_.row_of(from);
  if (!wanted_cell_) wanted_cell_ = cell_of(from);
  const auto above = static_cast<std::int64_t>(row - document_.first_row());
  const auto below = static_cast<std::int64_t>(document_.last_row() - row);
  const std::int64_t step = std::clamp(rows, -above, below);
  if (step == 0) return rows < 0 ? document_.first() : document_.end();
  const Row target = document_.first_row() + static_cast<Row>(above + step);
  return position_in_row(target, static_cast<double>(*wanted_cell_), Snap::nearest);
}

void ReceiveViewWidget::bring_into_view(Position position) {
  const Row row = document_.row_of(position);
  if (row < top_row_) scroll_to(row);
  if (row >= top_row_ + visible_rows()) scroll_to(row - visible_rows() + 1);
}

}  // namespace hvt
