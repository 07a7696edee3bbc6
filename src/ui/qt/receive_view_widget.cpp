#include "ui/qt/receive_view_widget.h"

#include <QApplication>
#include <QPaintEvent>
#include <QPainter>
#include <QScrollBar>
#include <QSignalBlocker>
#include <algorithm>
#include <cmath>

#include "base/text.h"
#include "ui/qt/look.h"

namespace hvt {
namespace {

constexpr int kMargin = CellGrid::kMargin;

}  // namespace

ReceiveViewWidget::ReceiveViewWidget(QWidget* parent) : QAbstractScrollArea(parent) {
  setFocusPolicy(Qt::StrongFocus);
  setAttribute(Qt::WA_InputMethodEnabled, false);  // nothing is typed here
  // A bar that came and went with the text would change the width and wrap everything anew.
  setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
  setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  viewport()->setCursor(Qt::IBeamCursor);
  viewport()->setBackgroundRole(QPalette::Base);
  watch_scroll_bar();
  measure_font();
  set_appearance(Appearance::light);
}

std::size_t cells_in(std::wstring_view text) {
  std::size_t cells = 0;
  for (const wchar_t unit : text)
    cells += cell_width(unit);
  return cells;
}

// The document

void ReceiveViewWidget::begin_update() {
  ++open_updates_;
}

void ReceiveViewWidget::end_update(const ViewUpdate& update) {
  --open_updates_;
  follows_ = update.follow;
  if (update.follow) {
    anchor_ = caret_ = document_.end();
    if (update.scroll) top_row_ = tail_top();
  }
  top_row_ = std::clamp(top_row_, document_.first_row(), tail_top());
  if (update.repaint) repaint_changes();
}

std::size_t ReceiveViewWidget::append(const DisplayBatch& batch) {
  changed_from(document_.last_row());
  const std::size_t units = document_.append(batch);
  content_changed();
  return units;
}

void ReceiveViewWidget::trim_head(std::size_t characters) {
  document_.trim_head(characters);
  if (document_.empty()) anchor_ = caret_ = 0;
  changed_from(document_.first_row() >= top_row_ ? document_.first_row() : kNoRow);
  content_changed();
}

void ReceiveViewWidget::remove(std::size_t first, std::size_t count) {
  const Range gone{document_.first() + first, document_.first() + first + count};
  const Row row = document_.row_of(gone.begin);
  const Row last = document_.last_row();
  document_.remove(gone);
  for (Position* const position : {&anchor_, &caret_, &origin_.begin, &origin_.end}) {
    if (*position > gone.begin) *position = std::max(*position, gone.end) - count;
  }
  if (top_row_ > row) top_row_ = std::max(row, top_row_ - std::min(top_row_, last - document_.last_row()));
  changed_from(row);
  content_changed();
}

void ReceiveViewWidget::clear() {
  document_.clear();
  anchor_ = caret_ = 0;
  top_row_ = 0;
  follows_ = true;
  changed_from(0);
  content_changed();
}

void ReceiveViewWidget::go_to_tail() {
  follows_ = true;
  wanted_cell_.reset();
  set_selection(document_.end(), document_.end());
  scroll_to(tail_top());
  // The button that asked for it is of no use now; the keyboard would go on to the next one, which clears.
  setFocus();
}

// Outside of an update everything is shown at once.
void ReceiveViewWidget::content_changed() {
  if (open_updates_ > 0) return;
  top_row_ = std::clamp(top_row_, document_.first_row(), tail_top());
  refresh_scroll_bar();
  viewport()->update();
}

void ReceiveViewWidget::changed_from(Row row) {
  changed_from_ = std::min(changed_from_, row);
}

void ReceiveViewWidget::refresh_scroll_bar() {
  const QSignalBlocker quiet(verticalScrollBar());
  scroll_bar_first_row_ = document_.first_row();
  verticalScrollBar()->setRange(0, static_cast<int>(tail_top() - document_.first_row()));
  verticalScrollBar()->setPageStep(static_cast<int>(visible_rows()));
  verticalScrollBar()->setValue(static_cast<int>(top_row_ - document_.first_row()));
}

// Text that arrives out of sight costs no painting.
void ReceiveViewWidget::repaint_changes() {
  refresh_scroll_bar();
  const int height = viewport()->height();
  if (top_row_ != painted_top_ || changed_from_ <= top_row_) {
    viewport()->repaint();
  } else if (changed_from_ - top_row_ <= visible_rows()) {
    const int top = grid_.top(static_cast<int>(changed_from_ - top_row_));
    viewport()->repaint(0, top, viewport()->width(), height - top);
  }
  changed_from_ = kNoRow;
}

// Geometry

void ReceiveViewWidget::set_font_points(int points) {
  if (font_points_ == points) return;
  font_points_ = points;
  refresh_font();
}

void ReceiveViewWidget::refresh_font() {
  QFont fixed = look::fixed_font(QApplication::font());
  if (font_points_ > 0) fixed.setPointSize(font_points_);
  setFont(fixed);
}

void ReceiveViewWidget::measure_font() {
  grid_.set_font(font());
}

void ReceiveViewWidget::wrap_to_width() {
  const Position top = document_.row_range(top_row_).begin;
  const double columns = std::floor((viewport()->width() - 2 * kMargin) / grid_.cell_width());
  document_.set_columns(static_cast<std::size_t>(std::max(1.0, columns)));
  top_row_ = std::clamp(follows_ ? tail_top() : document_.row_of(top), document_.first_row(), tail_top());
  refresh_scroll_bar();
  viewport()->update();
}

std::size_t ReceiveViewWidget::visible_rows() const {
  return static_cast<std::size_t>(std::max(1, (viewport()->height() - 2 * kMargin) / grid_.row_height()));
}

ReceiveViewWidget::Row ReceiveViewWidget::tail_top() const {
  const std::size_t rows = document_.row_count();
  return document_.first_row() + (rows > visible_rows() ? rows - visible_rows() : 0);
}

void ReceiveViewWidget::scroll_to(Row top) {
  top_row_ = std::clamp(top, document_.first_row(), tail_top());
  refresh_scroll_bar();
  viewport()->update();
}

void ReceiveViewWidget::scroll_by(std::int64_t rows) {
  const auto above = static_cast<std::int64_t>(top_row_ - document_.first_row());
  scroll_to(document_.first_row() + static_cast<Row>(std::max<std::int64_t>(0, above + rows)));
}

void ReceiveViewWidget::resizeEvent(QResizeEvent*) {
  wrap_to_width();
}

void ReceiveViewWidget::changeEvent(QEvent* event) {
  QAbstractScrollArea::changeEvent(event);
  if (event->type() == QEvent::FontChange) {
    measure_font();
    wrap_to_width();
  }
  if (event->type() == QEvent::PaletteChange) set_appearance(appearance_);
}

// Painting

void ReceiveViewWidget::set_appearance(Appearance appearance) {
  appearance_ = appearance;
  const Rgb gray = look::to_rgb(look::colors().disabled_text);
  QPalette surface;  // light: the window's own
  if (appearance == Appearance::dark) surface.setColor(QPalette::Base, look::to_qcolor(kDarkSurface));
  viewport()->setPalette(surface);
  for (std::size_t role = 0; role < kColorRoleCount; ++role) {
    colors_[role] = look::to_qcolor(role_color(static_cast<ColorRole>(role), appearance, gray));
  }
  viewport()->update();
}

void ReceiveViewWidget::paintEvent(QPaintEvent* event) {
  if (event->rect().contains(viewport()->rect())) painted_top_ = top_row_;
  QPainter painter(viewport());
  CellPainter cells(painter, grid_);
  const int first = std::max(0, (event->rect().top() - kMargin) / grid_.row_height());
  for (int line = first; !document_.empty(); ++line) {
    const Row row = top_row_ + static_cast<Row>(line);
    if (grid_.top(line) > event->rect().bottom() || row > document_.last_row()) break;
    draw_row(cells, row, line);
  }
  cells.finish();
  if (hasFocus()) draw_caret(painter);
}

void ReceiveViewWidget::draw_row(CellPainter& painter, Row row, int line) const {
  const Range range = document_.row_range(row);
  const Range chosen = selection();
  const Range inside{std::clamp(chosen.begin, range.begin, range.end),
                     std::clamp(chosen.end, range.begin, range.end)};
  const QColor chosen_color = palette().color(QPalette::HighlightedText);
  const auto draw = [&](Range part, std::size_t cell, bool is_chosen) {
    for (const DisplayRun run : document_.runs(part)) {
      const QColor& color = is_chosen ? chosen_color : colors_[static_cast<std::size_t>(run.role)];
      cell = painter.text(run.text, cell, line, color);
    }
    return cell;
  };
  if (chosen.empty()) {
    draw(range, 0, false);
    return;
  }
  std::size_t cell = draw({range.begin, inside.begin}, 0, false);
  const bool break_chosen = chosen.begin <= range.end && chosen.end > range.end &&
                            document_.text({range.end, range.end + 1}) == L"\n";
  if (!inside.empty() || break_chosen) {
    const double cells = static_cast<double>(cells_in(document_.text(inside))) + (break_chosen ? 0.5 : 0.0);
    painter.fill(line, static_cast<double>(cell), cells, palette().color(QPalette::Highlight));
    cell = draw(inside, cell, true);
  }
  draw({inside.end, range.end}, cell, false);
}

// It does not blink: a view that paints itself twice a second for nothing would be felt on battery.
void ReceiveViewWidget::draw_caret(QPainter& painter) const {
  const Position caret = std::clamp(caret_, document_.first(), document_.end());
  const Row row = document_.row_of(caret);
  if (row < top_row_ || row - top_row_ > visible_rows()) return;
  const int line = static_cast<int>(row - top_row_);
  const double left = std::min(grid_.left(cell_of(caret)), static_cast<double>(viewport()->width() - 1));
  painter.fillRect(QRect(static_cast<int>(left), grid_.top(line), 1, grid_.row_height()),
                   colors_[static_cast<std::size_t>(ColorRole::normal)]);
}

}  // namespace hvt
