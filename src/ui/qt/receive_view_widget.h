#pragma once

#include <QAbstractScrollArea>
#include <QBasicTimer>
#include <QColor>
#include <QElapsedTimer>
#include <QPoint>
#include <QString>
#include <array>
#include <string_view>

#include "display/palette.h"
#include "display/receive_document.h"
#include "ui/receive_view.h"

namespace hvt {

// Cells that the text takes in a row.
std::size_t cells_in(std::wstring_view text);

// The receive area: paints the rows of a ReceiveDocument that are in sight, and lets a person scroll, select
// and copy like in any read-only text field.
//
// Promises  the cost of a change or a repaint does not depend on how much text is held. Rows in sight keep
//           their place while text is appended and trimmed, unless end_update() follows. Roles are stored, so
//           another appearance is a repaint.
// Threads   the interface thread.
// Owns      the document and the selection.
// Ends      with its parent window.
class ReceiveViewWidget final : public QAbstractScrollArea, public ReceiveView {
 public:
  explicit ReceiveViewWidget(QWidget* parent);

  void begin_update() override;
  void end_update(bool follow) override;
  std::size_t append(const DisplayBatch& batch) override;
  void trim_head(std::size_t characters) override;
  void clear() override;
  bool at_tail() const override;
  std::size_t line_count() const override { return document_.row_count(); }
  void set_language(Language language) override { language_ = language; }

  void set_appearance(Appearance appearance);

  void select_all();
  void copy() const;
  // Line breaks are "\n".
  QString selected_text() const;

 protected:
  void paintEvent(QPaintEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void scrollContentsBy(int dx, int dy) override;
  void changeEvent(QEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void mouseDoubleClickEvent(QMouseEvent* event) override;
  void contextMenuEvent(QContextMenuEvent* event) override;
  void timerEvent(QTimerEvent* event) override;

 private:
  using Position = ReceiveDocument::Position;
  using Row = ReceiveDocument::Row;
  using Range = ReceiveDocument::Range;

  enum class SelectBy { character, word, line };
  enum class Snap { nearest, under };  // the position nearest to a point, or that of the unit under it
  static constexpr int kMargin = 4;    // around the text

  void measure_font();
  void wrap_to_width();
  void content_changed();
  void refresh();
  std::size_t visible_rows() const;
  Row tail_top() const;
  void scroll_to(Row top);
  void scroll_by(std::int64_t rows);

  void draw_row(QPainter& painter, Row row, int y) const;
  std::size_t draw_range(QPainter& painter, Range range, std::size_t cell, int y, const QColor* color) const;
  std::size_t draw_text(QPainter& painter, std::wstring_view text, std::size_t cell, int y) const;

  Range selection() const;
  void set_selection(Position anchor, Position caret);
  void begin_selection(QPoint point, SelectBy by);
  void extend_selection(QPoint point);
  Range unit_around(QPoint point) const;
  Position position_at(QPoint point, Snap snap) const;
  Position position_in_row(Row row, double cell, Snap snap) const;
  std::size_t cell_of(Position position) const;
  bool scroll_with_key(const QKeyEvent& event);
  bool extend_with_key(const QKeyEvent& event);
  Position next(Position from) const;
  Position previous(Position from) const;
  Position step_rows(Position from, std::int64_t rows) const;
  void bring_into_view(Position position);

  ReceiveDocument document_;
  Row top_row_ = 0;
  int open_updates_ = 0;

  double cell_width_ = 8;
  int row_height_ = 16;
  int ascent_ = 12;
  std::array<QColor, kColorRoleCount> colors_;
  Appearance appearance_ = Appearance::light;
  Language language_ = Language::english;

  Position anchor_ = 0;
  Position caret_ = 0;
  SelectBy select_by_ = SelectBy::character;
  Range origin_;  // what the press that began a mouse selection selected
  QPoint drag_point_;
  QBasicTimer drag_timer_;
  QElapsedTimer since_double_click_;
};

}  // namespace hvt
