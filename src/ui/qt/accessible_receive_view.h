#pragma once

#include <QAccessibleWidget>

#include "ui/qt/receive_view_widget.h"

namespace hvt {

// The receive view as assistive tools see it: read-only text with a caret, a selection, words and lines. An
// offset counts UTF-16 units from the start of what is held at the moment.
//
// Promises  the cost of an answer does not depend on how much text is held, but for a question about all of
//           it. Costs nothing while no assistive tool asks.
// Threads   the interface thread.
// Owns      nothing.
// Ends      with its widget, as the toolkit decides.
class AccessibleReceiveView final : public QAccessibleWidget, public QAccessibleTextInterface {
 public:
  explicit AccessibleReceiveView(ReceiveViewWidget& view);

  void* interface_cast(QAccessible::InterfaceType type) override;
  QAccessible::State state() const override;

  void selection(int index, int* begin, int* end) const override;
  int selectionCount() const override;
  void addSelection(int begin, int end) override;
  void removeSelection(int index) override;
  void setSelection(int index, int begin, int end) override;
  int cursorPosition() const override;
  void setCursorPosition(int offset) override;

  using QAccessibleWidget::text;
  QString text(int begin, int end) const override;
  QString textBeforeOffset(int offset, QAccessible::TextBoundaryType boundary, int* begin,
                           int* end) const override;
  QString textAfterOffset(int offset, QAccessible::TextBoundaryType boundary, int* begin,
                          int* end) const override;
  QString textAtOffset(int offset, QAccessible::TextBoundaryType boundary, int* begin,
                       int* end) const override;
  int characterCount() const override;

  QRect characterRect(int offset) const override;
  int offsetAtPoint(const QPoint& screen) const override;
  void scrollToSubstring(int begin, int end) override;
  QString attributes(int offset, int* begin, int* end) const override;

 private:
  using Position = ReceiveDocument::Position;
  using Range = ReceiveDocument::Range;

  Position position(int offset) const;
  int offset(Position position) const;
  Range unit_around(Position position, QAccessible::TextBoundaryType boundary) const;
  QString answer(const Range& range, int* begin, int* end) const;

  ReceiveViewWidget& view_;
};

}  // namespace hvt
