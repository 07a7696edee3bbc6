#pragma once

#include <QColor>
#include <QFont>
#include <QList>
#include <QPainter>
#include <QPointF>
#include <QRawFont>
#include <QRectF>
#include <array>
#include <cstddef>
#include <map>
#include <string_view>

namespace hvt {

// The cells of a fixed-width font: where they are, and the glyphs of ASCII.
class CellGrid {
 public:
  static constexpr int kMargin = 4;  // around the text

  void set_font(const QFont& font);

  const QFont& font() const { return font_; }
  const QRawFont& raw_font() const { return raw_font_; }
  quint32 glyph(wchar_t ascii) const { return glyphs_[static_cast<std::size_t>(ascii)]; }
  double cell_width() const { return cell_width_; }
  int row_height() const { return row_height_; }

  double left(std::size_t cell) const { return kMargin + static_cast<double>(cell) * cell_width_; }
  int top(int line) const { return kMargin + line * row_height_; }
  int baseline(int line) const { return top(line) + ascent_; }

 private:
  QFont font_;
  QRawFont raw_font_;
  std::array<quint32, 128> glyphs_{};
  double cell_width_ = 8;
  int row_height_ = 16;
  int ascent_ = 12;
};

// Draws text onto the grid of one paint event.
//
// All ASCII of one colour is drawn in one go, as glyphs looked up beforehand: text drawn run by run is laid
// out anew each time and takes ten times as long (benchmark full_repaint).
//
// Promises  everything is drawn when finish() returns; surfaces before text.
// Threads   the interface thread.
// Owns      nothing; grid and painter outlive it.
// Ends      with finish().
class CellPainter {
 public:
  CellPainter(QPainter& painter, const CellGrid& grid) : painter_(painter), grid_(grid) {}

  void fill(int line, double left_cell, double cells, const QColor& color);
  // Returns the cell behind the text.
  std::size_t text(std::wstring_view text, std::size_t cell, int line, const QColor& color);
  void finish();

 private:
  struct Glyphs {
    QList<quint32> indexes;
    QList<QPointF> positions;
  };
  void draw_other(std::wstring_view piece, QPointF at, const QColor& color);

  QPainter& painter_;
  const CellGrid& grid_;
  std::map<QRgb, Glyphs> glyphs_;
};

}  // namespace hvt
