#include "ui/qt/cell_painter.h"

#include <QFontMetricsF>
#include <QGlyphRun>
#include <algorithm>
#include <cmath>

#include "base/text.h"
#include "display/receive_document.h"
#include "ui/qt/qt_text.h"

namespace hvt {
namespace {

constexpr int kLineGap = 2;  // between rows, for calm reading
constexpr wchar_t kFirstGlyph = 0x20;
constexpr wchar_t kEndOfGlyphs = 0x7F;

bool has_glyph(wchar_t unit) {
  return unit >= kFirstGlyph && unit < kEndOfGlyphs;
}

}  // namespace

void CellGrid::set_font(const QFont& font) {
  font_ = font;
  raw_font_ = QRawFont::fromFont(font);
  const QFontMetricsF metrics(font);
  cell_width_ = std::max(1.0, metrics.horizontalAdvance(QString(64, QLatin1Char('M'))) / 64);
  row_height_ = std::max(1, static_cast<int>(std::ceil(metrics.height()))) + kLineGap;
  ascent_ = static_cast<int>(std::ceil(metrics.ascent())) + kLineGap / 2;
  for (wchar_t unit = kFirstGlyph; unit < kEndOfGlyphs; ++unit) {
    const auto indexes = raw_font_.glyphIndexesForString(QString(QChar(static_cast<char16_t>(unit))));
    glyphs_[static_cast<std::size_t>(unit)] = indexes.isEmpty() ? 0 : indexes.front();
  }
}

void CellPainter::fill(int line, double left_cell, double cells, const QColor& color) {
  const double left = CellGrid::kMargin + left_cell * grid_.cell_width();
  painter_.fillRect(QRectF(left, grid_.top(line), cells * grid_.cell_width(), grid_.row_height()), color);
}

std::size_t CellPainter::text(std::wstring_view text, std::size_t cell, int line, const QColor& color) {
  Glyphs& glyphs = glyphs_[color.rgba()];
  const double y = grid_.baseline(line);
  while (!text.empty()) {
    if (has_glyph(text.front())) {
      if (text.front() != L' ') {
        glyphs.indexes.push_back(grid_.glyph(text.front()));
        glyphs.positions.push_back({grid_.left(cell), y});
      }
      ++cell;
      text.remove_prefix(1);
      continue;
    }
    // On its own, so that a glyph from another font cannot push its neighbours off the grid.
    const std::size_t length = text.size() > 1 && is_low_surrogate(text[1]) ? 2 : 1;
    draw_other(text.substr(0, length), {grid_.left(cell), y}, color);
    cell += cell_width(text.front());
    text.remove_prefix(length);
  }
  return cell;
}

void CellPainter::draw_other(std::wstring_view piece, QPointF at, const QColor& color) {
  painter_.setPen(color);
  painter_.setFont(grid_.font());
  painter_.drawText(at, to_qstring(piece));
}

void CellPainter::finish() {
  for (const auto& [color, glyphs] : glyphs_) {
    if (glyphs.indexes.isEmpty()) continue;
    QGlyphRun run;
    run.setRawFont(grid_.raw_font());
    run.setGlyphIndexes(glyphs.indexes);
    run.setPositions(glyphs.positions);
    painter_.setPen(QColor::fromRgba(color));
    painter_.drawGlyphRun({0, 0}, run);
  }
  glyphs_.clear();
}

}  // namespace hvt
