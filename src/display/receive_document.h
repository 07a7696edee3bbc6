#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <vector>

#include "display/display_batch.h"

namespace hvt {

// Cells of the grid that a UTF-16 unit takes: one, two for East Asian wide characters and for the first half
// of a surrogate pair, none for the second half.
unsigned cell_width(wchar_t unit);

// The text of the receive view: coloured, wrapped to a grid of cells, appended at the end, trimmed at the
// start, now and then removed from the middle.
//
// A position is the number of units that were appended before it since the last clear(), so trimming does not
// move the positions of what remains; a unit is a UTF-16 unit, a line break is one L'\n'. Rows are numbered
// in the same manner: they keep their numbers while text is appended or trimmed, and set_columns() with
// another width numbers them anew. Text trimmed up to the middle of a row leaves the rest of that row as it
// was wrapped. Removing from the middle moves the positions and rows behind it, as if the text had never
// come.
//
// Promises  appending and trimming cost the same however much is held and however long its lines are; finding
//           a row or a position costs a binary search and a walk through at most one chunk. Removing from the
//           middle costs a walk through the line that is joined and a step per chunk behind it. ASCII takes
//           one byte per character.
// Threads   one at a time.
// Owns      the text.
// Ends      with the object.
class ReceiveDocument {
 public:
  using Position = std::uint64_t;
  using Row = std::uint64_t;

  // Half-open; a row's range does not include the line break that ends the row.
  struct Range {
    Position begin = 0;
    Position end = 0;
    bool empty() const { return begin >= end; }
    friend bool operator==(const Range&, const Range&) = default;
  };

  // Returns the units now held for the batch. "\r\n" is stored as L'\n'; no carriage return is stored.
  std::size_t append(const DisplayBatch& batch);
  // Removes that many units from the start; more than there are clears the document.
  void trim_head(std::size_t units);
  // What lies outside the document is left out.
  void remove(Range range);
  void clear();

  // Wraps at `columns` cells (at least 1).
  void set_columns(std::size_t columns);
  std::size_t columns() const { return columns_; }

  bool empty() const { return first_ == end_; }
  Position first() const { return first_; }
  Position end() const { return end_; }

  // Rows first_row() to last_row() exist, wraps included; a text that ends with a line break has an empty
  // last row. An empty document has no rows.
  Row first_row() const { return head_.row; }
  Row last_row() const { return tail_.row; }
  std::size_t row_count() const {
    return empty() ? 0 : static_cast<std::size_t>(last_row() - first_row() + 1);
  }
  // A row outside the document gives an empty range at its nearest end.
  Range row_range(Row row) const;
  // The row that shows the unit at `position`; positions outside are moved to the nearest end.
  Row row_of(Position position) const;

  // No line break lies between the two.
  bool on_one_line(Position one, Position other) const;

  // What lies between two positions; the part outside the document is left out.
  std::wstring text(Range range) const;
  DisplayBatch runs(Range range) const;

  // The line without its break, or the word, space or punctuation around `position`.
  Range line_around(Position position) const;
  Range word_around(Position position) const;

 private:
  // Where the next unit goes: the row, and the cells of it that are taken. A full row is left only when a
  // unit arrives that does not fit, so `column` may equal the number of columns.
  struct Point {
    Row row = 0;
    std::size_t column = 0;
  };

  // A stretch of text of at most kChunkUnits, never empty; two neighbours of which neither is the first or
  // the last hold more than that together.
  struct Chunk {
    Position begin = 0;
    Point start;                      // the point before unit 0
    std::string narrow;               // the units while all of them are ASCII ...
    std::u16string wide;              // ... otherwise they are here
    std::vector<std::uint16_t> runs;  // first unit and role of each run, packed

    std::size_t size() const { return narrow.size() + wide.size(); }
    Position end() const { return begin + size(); }
    wchar_t unit(std::size_t index) const;
    void widen();
    void add(std::wstring_view piece, ColorRole role);
    void drop_head(std::size_t units);
    void erase(std::size_t from, std::size_t to);
    void take_over(Chunk&& next);
  };

  void append_piece(std::wstring_view piece, ColorRole role);
  Chunk& open_chunk();
  bool join_with_next(std::size_t index);
  void wrap_again(std::size_t index, std::size_t first_untouched);
  Point advance(Point point, const Chunk& chunk, std::size_t from, std::size_t to) const;
  Point advance_cells(Point point, std::size_t cells) const;
  Point advance_unit(Point point, wchar_t unit) const;
  Point settle(Point point, wchar_t unit) const;
  std::size_t offset_of_row(const Chunk& chunk, Row row) const;
  std::size_t offset_of_row_narrow(const Chunk& chunk, Row row) const;
  Position row_begin(Row row) const;
  Position row_end(Position begin, std::size_t column) const;
  std::size_t chunk_at(Position position) const;
  Range clamped(Range range) const;
  static bool has_line_break(const Chunk& chunk, std::size_t from, std::size_t to);
  template <typename Visit>
  void visit(Range range, Visit&& visit_run) const;
  template <typename Predicate>
  Range extent(Position position, Predicate&& belongs) const;

  std::deque<Chunk> chunks_;
  std::size_t columns_ = 80;
  Position first_ = 0;
  Position end_ = 0;
  Point head_;  // of the unit at first_
  Point tail_;  // of the unit that comes next
};

}  // namespace hvt
