#include "ui/qt/receive_view_widget.h"

#include <QFontMetricsF>
#include <QPaintEvent>
#include <QPainter>
#include <QScrollBar>
#include <QSignalBlocker>
#include <algorithm>
#include <cmath>

#include "base/text.h"
#include "ui/qt/qt_text.h"

namespace hvt {
namespace {

constexpr int kLineGap = 2;  // between rows, for calm reading

QColor to_qcolor(Rgb color) {
  return {color.red, color.green, color.blue};
}

Rgb gray_text(const QPalette& palette) {
  const QColor gray = palette.color(QPalette::Disabled, QPalette::Text);
  return {static_cast<std::uint8_t>(gray.red()), static_cast<std::uint8_t>(gray.green()),
          static_cast<std::uint8_t>(gray.blue())};
}

}  // namespace

ReceiveViewWidget::ReceiveViewWidget(QWidget* parent) : QAbstractScrollArea(parent) {
  setFocusPolicy(Qt::StrongFocus);
  setAttribute(Qt::WA_InputMethodEnabled, false);  // nothing is typed here
  // A bar that came and went with the text would change the width and wrap everything anew.
  setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
  setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  viewport()->setCursor(Qt::IBeamCursor);
  viewport()->setBackgroundRole(QPalette::Base);
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

void ReceiveViewWidget::end_update(bool follow) {
  if (follow) top_row_ = tail_top();
  --open_updates_;
  content_changed();
}

std::size_t ReceiveViewWidget::append(const DisplayBatch& batch) {
  const std::size_t units = document_.append(batch);
  content_changed();
  return units;
}

void ReceiveViewWidget::trim_head(std::size_t characters) {
  document_.trim_head(characters);
  if (document_.empty()) anchor_ = caret_ = 0;
  content_changed();
}

void ReceiveViewWidget::clear() {
  document_.clear();
  anchor_ = caret_ = 0;
  content_changed();
}

bool ReceiveViewWidget::at_tail() const {
  return document_.empty() || top_row_ >= tail_top();
}

void ReceiveViewWidget::content_changed() {
  if (open_updates_ == 0) refresh();
}

// Brings the scroll bar in line with the document and has the rows painted.
void ReceiveViewWidget::refresh() {
  top_row_ = std::clamp(top_row_, document_.first_row(), tail_top());
  const QSignalBlocker quiet(verticalScrollBar());
  verticalScrollBar()->setRange(0, static_cast<int>(tail_top() - document_.first_row()));
  verticalScrollBar()->setPageStep(static_cast<int>(visible_rows()));
  verticalScrollBar()->setValue(static_cast<int>(top_row_ - document_.first_row()));
  viewport()->update();
}

// Geometry

void ReceiveViewWidget::measure_font() {
  const QFontMetricsF metrics(font());
  cell_width_ = std::max(1.0, metrics.horizontalAdvance(QString(64, QLatin1Char('M'))) / 64);
  row_height_ = std::max(1, static_cast<int>(std::ceil(metrics.height()))) + kLineGap;
  ascent_ = static_cast<int>(std::ceil(metrics.ascent())) + kLineGap / 2;
}

void ReceiveViewWidget::wrap_to_width() {
  const bool follow = at_tail();
  const Position top = document_.row_range(top_row_).begin;
  const double columns = std::floor((viewport()->width() - 2 * kMargin) / cell_width_);
  document_.set_columns(static_cast<std::size_t>(std::max(1.0, columns)));
  top_row_ = follow ? tail_top() : document_.row_of(top);
  refresh();
}

std::size_t ReceiveViewWidget::visible_rows() const {
  return static_cast<std::size_t>(std::max(1, (viewport()->height() - 2 * kMargin) / row_height_));
}

ReceiveViewWidget::Row ReceiveViewWidget::tail_top() const {
  const std::size_t rows = document_.row_count();
  return document_.first_row() + (rows > visible_rows() ? rows - visible_rows() : 0);
}

void ReceiveViewWidget::scroll_to(Row top) {
  top_row_ = top;
  refresh();
}

void ReceiveViewWidget::scroll_by(std::int64_t rows) {
  const auto above = static_cast<std::int64_t>(top_row_ - document_.first_row());
  scroll_to(document_.first_row() + static_cast<Row>(std::max<std::int64_t>(0, above + rows)));
}

void ReceiveViewWidget::resizeEvent(QResizeEvent*) {
  wrap_to_width();
}

void ReceiveViewWidget::scrollContentsBy(int, int) {
  top_row_ = document_.first_row() + static_cast<Row>(verticalScrollBar()->value());
  viewport()->update();
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
  for (std::size_t role = 0; role < kColorRoleCount; ++role) {
    colors_[role] = to_qcolor(role_color(static_cast<ColorRole>(role), appearance, gray_text(palette())));
  }
  viewport()->update();
}

void ReceiveViewWidget::paintEvent(QPaintEvent* event) {
  if (document_.empty()) return;
  QPainter painter(viewport());
  painter.setFont(font());
  const int first = std::max(0, (event->rect().top() - kMargin) / row_height_);
  for (int line = first;; ++line) {
    const int y = kMargin + line * row_height_;
    const Row row = top_row_ + static_cast<Row>(line);
    if (y > event->rect().bottom() || row > document_.last_row()) return;
    draw_row(painter, row, y);
  }
}

void ReceiveViewWidget::draw_row(QPainter& painter, Row row, int y) const {
  const Range range = document_.row_range(row);
  const Range chosen = selection();
  const Range inside{std::clamp(chosen.begin, range.begin, range.end),
                     std::clamp(chosen.end, range.begin, range.end)};
  std::size_t cell = draw_range(painter, {range.begin, inside.begin}, 0, y, nullptr);
  const bool break_chosen = chosen.begin <= range.end && chosen.end > range.end &&
                            document_.text({range.end, range.end + 1}) == L"\n";
  if (!inside.empty() || break_chosen) {
    const double left = kMargin + static_cast<double>(cell) * cell_width_;
    const double cells = static_cast<double>(cells_in(document_.text(inside))) + (break_chosen ? 0.5 : 0.0);
    painter.fillRect(QRectF(left, y, cells * cell_width_, row_height_), palette().color(QPalette::Highlight));
    const QColor color = palette().color(QPalette::HighlightedText);
    cell = draw_range(painter, inside, cell, y, &color);
  }
  draw_range(painter, {inside.end, range.end}, cell, y, nullptr);
}

// Draws from `cell` on, in the colours of the roles or in one `color`, and returns the cell after it.
std::size_t ReceiveViewWidget::draw_range(QPainter& painter, Range range, std::size_t cell, int y,
                                          const QColor* color) const {
  for (const DisplayRun run : document_.runs(range)) {
    painter.setPen(color != nullptr ? *color : colors_[static_cast<std::size_t>(run.role)]);
    cell = draw_text(painter, run.text, cell, y);
  }
  return cell;
}

// ASCII is drawn in stretches; every other character on its own, so that a glyph from another font cannot
// push its neighbours off the grid.
std::size_t ReceiveViewWidget::draw_text(QPainter& painter, std::wstring_view text, std::size_t cell,
                                         int y) const {
  while (!text.empty()) {
    const auto other = std::find_if(text.begin(), text.end(), [](wchar_t unit) { return unit >= 0x80; });
    auto length = static_cast<std::size_t>(other - text.begin());
    if (length == 0) length = text.size() > 1 && is_low_surrogate(text[1]) ? 2 : 1;
    const std::wstring_view piece = text.substr(0, length);
    painter.drawText(QPointF(kMargin + static_cast<double>(cell) * cell_width_, y + ascent_),
                     to_qstring(piece));
    cell += cells_in(piece);
    text.remove_prefix(length);
  }
  return cell;
}

}  // namespace hvt
