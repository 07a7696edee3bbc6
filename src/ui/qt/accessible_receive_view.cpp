#include "ui/qt/accessible_receive_view.h"

#include <algorithm>

#include "ui/qt/qt_text.h"

namespace hvt {

AccessibleReceiveView::AccessibleReceiveView(ReceiveViewWidget& view)
    : QAccessibleWidget(&view, QAccessible::EditableText), view_(view) {}

void* AccessibleReceiveView::interface_cast(QAccessible::InterfaceType type) {
  if (type == QAccessible::TextInterface) return static_cast<QAccessibleTextInterface*>(this);
  return QAccessibleWidget::interface_cast(type);
}

QAccessible::State AccessibleReceiveView::state() const {
  QAccessible::State state = QAccessibleWidget::state();
  state.readOnly = true;
  state.multiLine = true;
  state.selectableText = true;
  return state;
}

// Offsets

AccessibleReceiveView::Position AccessibleReceiveView::position(int offset) const {
  const ReceiveDocument& document = view_.document_;
  if (offset < 0) return document.end();
  return std::min(document.end(), document.first() + static_cast<Position>(offset));
}

int AccessibleReceiveView::offset(Position position) const {
  const ReceiveDocument& document = view_.document_;
  return static_cast<int>(std::clamp(position, document.first(), document.end()) - document.first());
}

int AccessibleReceiveView::characterCount() const {
  return offset(view_.document_.end());
}

// Caret and selection

void AccessibleReceiveView::selection(int index, int* begin, int* end) const {
  const Range range = view_.selection();
  const bool exists = index == 0 && !range.empty();
  *begin = exists ? offset(range.begin) : 0;
  *end = exists ? offset(range.end) : 0;
}

int AccessibleReceiveView::selectionCount() const {
  return view_.selection().empty() ? 0 : 1;
}

void AccessibleReceiveView::addSelection(int begin, int end) {
  setSelection(0, begin, end);
}

void AccessibleReceiveView::removeSelection(int) {
  view_.go_to(view_.caret_, view_.caret_);
}

void AccessibleReceiveView::setSelection(int, int begin, int end) {
  view_.go_to(position(begin), position(end));
}

int AccessibleReceiveView::cursorPosition() const {
  return offset(view_.caret_);
}

void AccessibleReceiveView::setCursorPosition(int offset) {
  view_.go_to(position(offset), position(offset));
}

void AccessibleReceiveView::scrollToSubstring(int begin, int) {
  view_.bring_into_view(position(begin));
}

// Text

QString AccessibleReceiveView::text(int begin, int end) const {
  return to_qstring(view_.document_.text({position(begin), position(end)}));
}

// A line is what stands in one row; it takes its line break along, as tools expect it.
AccessibleReceiveView::Range AccessibleReceiveView::unit_around(
    Position position, QAccessible::TextBoundaryType boundary) const {
  const ReceiveDocument& document = view_.document_;
  const auto with_break = [&document](Range range) {
    if (document.text({range.end, range.end + 1}) == L"\n") ++range.end;
    return range;
  };
  switch (boundary) {
    case QAccessible::CharBoundary: {
      if (position >= document.end()) return {position, position};
      const Position begin = view_.previous(position + 1);  // of both halves of a surrogate pair
      return {begin, view_.next(begin)};
    }
    case QAccessible::WordBoundary: {
      const Range word = document.word_around(position);
      return word.empty() ? with_break(word) : word;
    }
    case QAccessible::LineBoundary: return with_break(document.row_range(document.row_of(position)));
    case QAccessible::SentenceBoundary:
    case QAccessible::ParagraphBoundary: return with_break(document.line_around(position));
    case QAccessible::NoBoundary: break;
  }
  return {document.first(), document.end()};
}

QString AccessibleReceiveView::answer(const Range& range, int* begin, int* end) const {
  *begin = offset(range.begin);
  *end = offset(range.end);
  return to_qstring(view_.document_.text(range));
}

QString AccessibleReceiveView::textAtOffset(int offset, QAccessible::TextBoundaryType boundary, int* begin,
                                            int* end) const {
  return answer(unit_around(position(offset), boundary), begin, end);
}

QString AccessibleReceiveView::textBeforeOffset(int offset, QAccessible::TextBoundaryType boundary,
                                                int* begin, int* end) const {
  const Range here = unit_around(position(offset), boundary);
  if (here.begin <= view_.document_.first()) return answer({here.begin, here.begin}, begin, end);
  return answer(unit_around(view_.previous(here.begin), boundary), begin, end);
}

QString AccessibleReceiveView::textAfterOffset(int offset, QAccessible::TextBoundaryType boundary, int* begin,
                                               int* end) const {
  const Range here = unit_around(position(offset), boundary);
  if (here.end >= view_.document_.end()) return answer({here.end, here.end}, begin, end);
  return answer(unit_around(here.end, boundary), begin, end);
}

QString AccessibleReceiveView::attributes(int offset, int* begin, int* end) const {
  answer(unit_around(position(offset), QAccessible::LineBoundary), begin, end);
  return {};
}

// Places on the screen

QRect AccessibleReceiveView::characterRect(int offset) const {
  const QRect inside = view_.rect_of(position(offset));
  return inside.isNull() ? QRect() : inside.translated(view_.viewport()->mapToGlobal(QPoint(0, 0)));
}

int AccessibleReceiveView::offsetAtPoint(const QPoint& screen) const {
  const QPoint point = view_.viewport()->mapFromGlobal(screen);
  if (!view_.viewport()->rect().contains(point)) return -1;
  return offset(view_.position_at(point, ReceiveViewWidget::Snap::under));
}

}  // namespace hvt
