#pragma once

#include <QAbstractScrollArea>
#include <QBasicTimer>
#include <QColor>
#include <QElapsedTimer>
#include <QPoint>
#include <QRect>
#include <QString>
#include <array>
#include <functional>
#include <limits>
#include <optional>
#include <string>
#include <string_view>

#include "display/palette.h"
#include "display/receive_document.h"
#include "ui/qt/cell_painter.h"
#include "ui/receive_view.h"

namespace hvt {

// Cells that the text takes in a row.
std::size_t cells_in(std::wstring_view text);

// The receive area: paints the rows of a ReceiveDocument that are in sight, and lets a person scroll, move
// the caret, select and copy like in any read-only text field.
//
// Promises  the cost of a change or a repaint does not depend on how much text is held. Rows in sight keep
//           their place while text is appended and trimmed, unless an update follows; what has not changed in
//           sight is not painted again. Roles are stored, so another appearance is a repaint.
// Threads   the interface thread.
// Owns      the document and the selection.
// Ends      with its parent window.
class ReceiveViewWidget final : public QAbstractScrollArea, public ReceiveView {
 public:
  explicit ReceiveViewWidget(QWidget* parent);

  void begin_update() override;
  void end_update(const ViewUpdate& update) override;
  std::size_t append(const DisplayBatch& batch) override;
  void trim_head(std::size_t characters) override;
  void remove(std::size_t first, std::size_t count) override;
  void clear() override;
  void go_to_tail() override;
  void on_navigated(std::function<void()> navigated) override { navigated_ = std::move(navigated); }
  std::size_t line_count() const override { return document_.row_count(); }
  void set_appearance(Appearance appearance) override;
  void set_font_points(int points) override;
  void set_language(Language language) override { language_ = language; }

  // In the fixed-width font of the desktop, in the size set last.
  void refresh_font();

  void select_all();
  void copy() const;
  // Line breaks are "\n".
  QString selected_text() const;
  std::wstring held_text() const { return document_.text({document_.first(), document_.end()}); }

 protected:
  void paintEvent(QPaintEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void scrollContentsBy(int dx, int dy) override;
  void changeEvent(QEvent* event) override;
  void focusInEvent(QFocusEvent* event) override;
  void focusOutEvent(QFocusEvent* event) override;
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
  static constexpr Row kNoRow = std::numeric_limits<Row>::max();

  void measure_font();
  void wrap_to_width();
  void content_changed();
  void changed_from(Row row);
  void refresh_scroll_bar();
  void repaint_changes();
  std::size_t visible_rows() const;
  Row tail_top() const;
  void watch_scroll_bar();
  void scroll_to(Row top);
  void scroll_by(std::int64_t rows);
  void went(Row top_before);
  void went_elsewhere();

  void draw_row(CellPainter& painter, Row row, int line) const;
  void draw_caret(QPainter& painter) const;

  Range selection() const;
  void set_selection(Position anchor, Position caret);
  void begin_selection(QPoint point, SelectBy by);
  void extend_selection(QPoint point);
  Range unit_around(QPoint point) const;
  Position position_at(QPoint point, Snap snap) const;
  Position position_in_row(Row row, double cell, Snap snap) const;
  std::size_t cell_of(Position position) const;
  std::int64_t page_rows() const;
  std::optional<Position> caret_after(const QKeyEvent& event);
  bool scroll_with_key(const QKeyEvent& event);
  Position row_end(Position from, bool selecting) const;
  Position next(Position from) const;
  Position previous(Position from) const;
  Position next_word(Position from) const;
  Position previous_word(Position from) const;
  Position step_rows(Position from, std::int64_t rows);
  void bring_into_view(Position position);

  ReceiveDocument document_;
  Row top_row_ = 0;
  bool follows_ = true;  // the end is to stay in view when the size changes
  int open_updates_ = 0;
  std::function<void()> navigated_;

  Row changed_from_ = kNoRow;     // rows from here on look different than when they were painted
  Row painted_top_ = 0;           // when all of it was painted last
  Row scroll_bar_first_row_ = 0;  // what the scroll bar's 0 stands for

  CellGrid grid_;
  std::array<QColor, kColorRoleCount> colors_;
  Appearance appearance_ = Appearance::light;
  Language language_ = Language::english;
  int font_points_ = 0;  // 0 until it is set: that of the interface font

  Position anchor_ = 0;
  Position caret_ = 0;
  std::optional<std::size_t> wanted_cell_;  // where the caret goes in rows that are long enough
  SelectBy select_by_ = SelectBy::character;
  Range origin_;  // what the press that began a mouse selection selected
  QPoint drag_point_;
  QBasicTimer drag_timer_;
  QElapsedTimer since_double_click_;
};

}  // namespace hvt
