#include "display/receive_document.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <utility>

#include "base/text.h"

namespace hvt {
namespace {

// Small enough that a walk through one chunk is nothing to a repaint, large enough that 24 million characters
// are 6,000 chunks.
constexpr std::size_t kChunkUnits = 4096;

// A run is its first unit and its role in 16 bits, because coloured traffic changes role every few
// characters.
constexpr unsigned kRoleBits = 3;
static_assert(kColorRoleCount <= (1U << kRoleBits) && kChunkUnits <= (1U << (16 - kRoleBits)));

constexpr std::uint16_t packed_run(std::size_t first_unit, ColorRole role) {
  return static_cast<std::uint16_t>((first_unit << kRoleBits) | static_cast<unsigned>(role));
}
constexpr std::size_t run_begin(std::uint16_t run) {
  return run >> kRoleBits;
}
constexpr ColorRole run_role(std::uint16_t run) {
  return static_cast<ColorRole>(run & ((1U << kRoleBits) - 1U));
}

bool is_ascii(std::wstring_view text) {
  std::uint32_t all = 0;
  for (const wchar_t unit : text)
    all |= static_cast<std::uint32_t>(unit);
  return all < 0x80;
}

struct WideRange {
  wchar_t first;
  wchar_t last;
};

// Blocks whose characters are drawn two cells wide.
constexpr WideRange kWideRanges[] = {
    {0x1100, 0x115F},  // Hangul Jamo, initial consonants
    {0x2E80, 0x303E},  // CJK radicals and punctuation
    {0x3041, 0xA4CF},  // kana, compatibility Jamo, ideographs, Yi
    {0xA960, 0xA97F},  // Hangul Jamo extended A
    {0xAC00, 0xD7A3},  // Hangul syllables
    {0xD800, 0xDBFF},  // first half of a pair: emoji and rare ideographs
    {0xF900, 0xFAFF},  // compatibility ideographs
    {0xFE30, 0xFE6F},  // vertical and small forms
    {0xFF00, 0xFF60},  // full-width forms
    {0xFFE0, 0xFFE6},
};

enum class UnitClass { line_break, space, word, punctuation };

UnitClass class_of(wchar_t unit) {
  if (unit == L'\n') return UnitClass::line_break;
  if (unit == L' ' || unit == L'\t') return UnitClass::space;
  const bool word = unit >= 0x80 || unit == L'_' || (unit >= L'0' && unit <= L'9') ||
                    (unit >= L'A' && unit <= L'Z') || (unit >= L'a' && unit <= L'z');
  return word ? UnitClass::word : UnitClass::punctuation;
}

}  // namespace

unsigned cell_width(wchar_t unit) {
  if (unit < kWideRanges[0].first) return 1;
  if (is_low_surrogate(unit)) return 0;
  const auto holds = [unit](const WideRange& range) { return unit >= range.first && unit <= range.last; };
  return std::any_of(std::begin(kWideRanges), std::end(kWideRanges), holds) ? 2 : 1;
}

// Chunks

wchar_t ReceiveDocument::Chunk::unit(std::size_t index) const {
  return wide.empty() ? static_cast<wchar_t>(static_cast<unsigned char>(narrow[index]))
                      : static_cast<wchar_t>(wide[index]);
}

void ReceiveDocument::Chunk::widen() {
  wide.reserve(kChunkUnits);
  wide.assign(narrow.begin(), narrow.end());
  narrow.clear();
  narrow.shrink_to_fit();
}

void ReceiveDocument::Chunk::add(std::wstring_view piece, ColorRole role) {
  if (runs.empty() || run_role(runs.back()) != role) runs.push_back(packed_run(size(), role));
  if (wide.empty() && is_ascii(piece)) {
    std::transform(piece.begin(), piece.end(), std::back_inserter(narrow),
                   [](wchar_t unit) { return static_cast<char>(unit); });
    return;
  }
  if (wide.empty()) widen();
  std::transform(piece.begin(), piece.end(), std::back_inserter(wide),
                 [](wchar_t unit) { return static_cast<char16_t>(unit); });
}

void ReceiveDocument::Chunk::drop_head(std::size_t units) {
  if (wide.empty()) {
    narrow.erase(0, units);
  } else {
    wide.erase(0, units);
  }
  begin += units;
  const auto kept = std::partition_point(runs.begin(), runs.end(),
                                         [units](std::uint16_t run) { return run_begin(run) <= units; });
  runs.erase(runs.begin(), std::prev(kept));
  for (std::uint16_t& run : runs)
    run = packed_run(std::max(run_begin(run), units) - units, run_role(run));
}

void ReceiveDocument::Chunk::erase(std::size_t from, std::size_t to) {
  if (wide.empty()) {
    narrow.erase(from, to - from);
  } else {
    wide.erase(from, to - from);
  }
  std::vector<std::uint16_t> kept;
  for (std::size_t i = 0; i < runs.size(); ++i) {
    const std::size_t end = i + 1 < runs.size() ? run_begin(runs[i + 1]) : size() + (to - from);
    const auto moved = [&](std::size_t unit) {
      return unit <= from ? unit : std::max(unit, to) - (to - from);
    };
    const ColorRole role = run_role(runs[i]);
    if (moved(run_begin(runs[i])) == moved(end)) continue;
    if (kept.empty() || run_role(kept.back()) != role)
      kept.push_back(packed_run(moved(run_begin(runs[i])), role));
  }
  runs = std::move(kept);
}

void ReceiveDocument::Chunk::take_over(Chunk&& next) {
  const std::size_t before = size();
  if (wide.empty() && next.wide.empty()) {
    narrow += next.narrow;
  } else {
    if (wide.empty()) widen();
    wide.append(next.narrow.begin(), next.narrow.end());
    wide += next.wide;
  }
  for (const std::uint16_t run : next.runs) {
    if (run_role(run) != run_role(runs.back()))
      runs.push_back(packed_run(before + run_begin(run), run_role(run)));
  }
}

// Appending and removing

std::size_t ReceiveDocument::append(const DisplayBatch& batch) {
  const Position before = end_;
  for (const DisplayRun run : batch) {
    std::wstring_view rest = run.text;
    while (!rest.empty()) {
      const std::size_t length = std::min(rest.find(L'\r'), rest.size());
      append_piece(rest.substr(0, length), run.role);
      rest.remove_prefix(std::min(length + 1, rest.size()));
    }
  }
  return static_cast<std::size_t>(end_ - before);
}

void ReceiveDocument::append_piece(std::wstring_view piece, ColorRole role) {
  while (!piece.empty()) {
    const bool was_empty = empty();
    Chunk& chunk = open_chunk();
    const std::size_t from = chunk.size();
    const std::size_t length = std::min(piece.size(), kChunkUnits - from);
    chunk.add(piece.substr(0, length), role);
    tail_ = advance(tail_, chunk, from, from + length);
    end_ += length;
    piece.remove_prefix(length);
    if (was_empty) head_ = settle(head_, chunk.unit(0));
  }
}

ReceiveDocument::Chunk& ReceiveDocument::open_chunk() {
  if (chunks_.empty() || chunks_.back().size() == kChunkUnits) {
    if (!chunks_.empty()) chunks_.back().runs.shrink_to_fit();
    Chunk& chunk = chunks_.emplace_back();
    chunk.begin = end_;
    chunk.start = tail_;
    chunk.narrow.reserve(kChunkUnits);
  }
  return chunks_.back();
}

void ReceiveDocument::trim_head(std::size_t units) {
  if (units >= end_ - first_) {
    clear();
    return;
  }
  first_ += units;
  while (chunks_.front().end() <= first_)
    chunks_.pop_front();
  const Chunk& chunk = chunks_.front();
  const auto offset = static_cast<std::size_t>(first_ - chunk.begin);
  head_ = settle(advance(chunk.start, chunk, 0, offset), chunk.unit(offset));
}

void ReceiveDocument::remove(Range range) {
  range = clamped(range);
  if (range.empty()) return;
  if (range.begin == first_) return trim_head(static_cast<std::size_t>(range.end - range.begin));
  const std::size_t first = chunk_at(range.begin);
  Position position = chunks_[first].begin;
  std::size_t behind = first;
  auto from = static_cast<std::size_t>(range.begin - position);
  for (auto rest = static_cast<std::size_t>(range.end - range.begin); rest > 0; ++behind, from = 0) {
    const std::size_t count = std::min(rest, chunks_[behind].size() - from);
    chunks_[behind].erase(from, from + count);
    rest -= count;
  }
  std::size_t untouched = chunks_.size() - behind;
  const auto at = [this](std::size_t index) { return chunks_.begin() + static_cast<std::ptrdiff_t>(index); };
  chunks_.erase(std::remove_if(at(first), at(behind), [](const Chunk& chunk) { return chunk.size() == 0; }),
                at(behind));
  for (std::size_t index = first; index < chunks_.size(); position = chunks_[index++].end())
    chunks_[index].begin = position;
  end_ -= range.end - range.begin;
  if (join_with_next(first)) untouched = std::min(untouched, chunks_.size() - first - 1);
  const std::size_t before = first > 0 ? first - 1 : 0;
  if (first > 0 && join_with_next(before)) untouched = std::min(untouched, chunks_.size() - first);
  wrap_again(before, chunks_.size() - untouched);
}

// True when the chunk took over the one behind it.
bool ReceiveDocument::join_with_next(std::size_t index) {
  if (index + 1 >= chunks_.size() || chunks_[index].size() + chunks_[index + 1].size() > kChunkUnits)
    return false;
  chunks_[index].take_over(std::move(chunks_[index + 1]));
  chunks_.erase(chunks_.begin() + static_cast<std::ptrdiff_t>(index + 1));
  return true;
}

// Wraps the chunks behind `index`, whose own start is right. As soon as one of the untouched chunks begins in
// the column where it began before, only rows are counted anew from there on.
void ReceiveDocument::wrap_again(std::size_t index, std::size_t first_untouched) {
  Point point = chunks_[index].start;
  for (; index < chunks_.size(); ++index) {
    Chunk& chunk = chunks_[index];
    if (index >= first_untouched && chunk.start.column == point.column) {
      const Row less = chunk.start.row - point.row;
      for (; index < chunks_.size(); ++index)
        chunks_[index].start.row -= less;
      tail_.row -= less;
      return;
    }
    chunk.start = point;
    point = advance(point, chunk, 0, chunk.size());
  }
  tail_ = point;
}

void ReceiveDocument::clear() {
  chunks_.clear();
  first_ = end_ = 0;
  head_ = tail_ = {};
}

// The grid

void ReceiveDocument::set_columns(std::size_t columns) {
  columns = std::max<std::size_t>(columns, 1);
  if (columns == columns_) return;
  columns_ = columns;
  head_ = tail_ = {};
  if (empty()) return;
  chunks_.front().drop_head(static_cast<std::size_t>(first_ - chunks_.front().begin));
  for (Chunk& chunk : chunks_) {
    chunk.start = tail_;
    tail_ = advance(tail_, chunk, 0, chunk.size());
  }
}

// The point after `cells` further one-cell units.
ReceiveDocument::Point ReceiveDocument::advance_cells(Point point, std::size_t cells) const {
  const std::size_t taken = point.column + cells;
  if (taken <= columns_) return {point.row, taken};
  return {point.row + (taken - 1) / columns_, (taken - 1) % columns_ + 1};
}

// The point at which `unit` itself is shown: the next row when it does not fit into this one.
ReceiveDocument::Point ReceiveDocument::settle(Point point, wchar_t unit) const {
  const unsigned cells = unit == L'\n' ? 0 : cell_width(unit);
  const bool fits = cells == 0 || point.column == 0 || point.column + cells <= columns_;
  return fits ? point : Point{point.row + 1, 0};
}

// The point after `unit`. A wide character in a grid of one column takes what there is.
ReceiveDocument::Point ReceiveDocument::advance_unit(Point point, wchar_t unit) const {
  point = settle(point, unit);
  if (unit == L'\n') return {point.row + 1, 0};
  return {point.row, std::min(point.column + cell_width(unit), columns_)};
}

// The point after the units `from` to `to` of the chunk, starting at `point`.
ReceiveDocument::Point ReceiveDocument::advance(Point point, const Chunk& chunk, std::size_t from,
                                                std::size_t to) const {
  for (; !chunk.wide.empty() && from < to; ++from)
    point = advance_unit(point, chunk.unit(from));
  while (from < to) {
    const char* begin = chunk.narrow.data() + from;
    const auto* line_break = static_cast<const char*>(std::memchr(begin, '\n', to - from));
    if (line_break == nullptr) return advance_cells(point, to - from);
    const auto length = static_cast<std::size_t>(line_break - begin);
    point = {advance_cells(point, length).row + 1, 0};
    from += length + 1;
  }
  return point;
}

std::size_t ReceiveDocument::chunk_at(Position position) const {
  const auto after = std::upper_bound(chunks_.begin(), chunks_.end(), position,
                                      [](Position p, const Chunk& chunk) { return p < chunk.begin; });
  return static_cast<std::size_t>(std::distance(chunks_.begin(), after)) - 1;
}

ReceiveDocument::Row ReceiveDocument::row_of(Position position) const {
  if (position <= first_) return head_.row;
  if (position >= end_) return tail_.row;
  const Chunk& chunk = chunks_[chunk_at(position)];
  const auto offset = static_cast<std::size_t>(position - chunk.begin);
  return settle(advance(chunk.start, chunk, 0, offset), chunk.unit(offset)).row;
}

// First unit of the row in a chunk that starts above it and reaches it.
std::size_t ReceiveDocument::offset_of_row(const Chunk& chunk, Row row) const {
  if (chunk.wide.empty()) return offset_of_row_narrow(chunk, row);
  Point point = chunk.start;
  std::size_t offset = 0;
  for (; offset < chunk.size(); ++offset) {
    if (settle(point, chunk.unit(offset)).row >= row) break;
    point = advance_unit(point, chunk.unit(offset));
  }
  return offset;
}

std::size_t ReceiveDocument::offset_of_row_narrow(const Chunk& chunk, Row row) const {
  Point point = chunk.start;
  std::size_t offset = 0;
  while (point.row < row) {
    const std::size_t line_end = std::min(chunk.narrow.find('\n', offset), chunk.size());
    if (advance_cells(point, line_end - offset).row >= row) {
      return offset + (columns_ - point.column) + static_cast<std::size_t>(row - point.row - 1) * columns_;
    }
    if (line_end == chunk.size()) return line_end;
    point = advance(point, chunk, offset, line_end + 1);
    offset = line_end + 1;
  }
  return offset;
}

ReceiveDocument::Position ReceiveDocument::row_begin(Row row) const {
  if (row <= head_.row) return first_;
  const auto after = std::lower_bound(chunks_.begin(), chunks_.end(), row,
                                      [](const Chunk& chunk, Row r) { return chunk.start.row < r; });
  const Chunk& chunk = *std::prev(after);
  return chunk.begin + offset_of_row(chunk, row);
}

// Where the row that begins there, after `column` cells that were trimmed, ends.
ReceiveDocument::Position ReceiveDocument::row_end(Position begin, std::size_t column) const {
  Point point{0, column};
  std::size_t index = chunk_at(begin);
  for (Position position = begin; position < end_; ++position) {
    if (position == chunks_[index].end()) ++index;
    const Chunk& chunk = chunks_[index];
    const auto offset = static_cast<std::size_t>(position - chunk.begin);
    const wchar_t unit = chunk.unit(offset);
    if (unit == L'\n' || settle(point, unit).row != 0) return position;
    point = advance_unit(point, unit);
  }
  return end_;
}

ReceiveDocument::Range ReceiveDocument::row_range(Row row) const {
  if (empty() || row < first_row()) return {first_, first_};
  if (row > last_row()) return {end_, end_};
  const Position begin = row_begin(row);
  if (begin >= end_) return {end_, end_};
  return {begin, row_end(begin, row == first_row() ? head_.column : 0)};
}

// Reading

ReceiveDocument::Range ReceiveDocument::clamped(Range range) const {
  return {std::clamp(range.begin, first_, end_), std::clamp(range.end, first_, end_)};
}

// Calls visit_run(chunk, first unit, end unit, role) for every run inside the range.
template <typename Visit>
void ReceiveDocument::visit(Range range, Visit&& visit_run) const {
  range = clamped(range);
  if (range.empty()) return;
  for (std::size_t index = chunk_at(range.begin); index < chunks_.size(); ++index) {
    const Chunk& chunk = chunks_[index];
    if (chunk.begin >= range.end) return;
    const auto from = static_cast<std::size_t>(std::max(range.begin, chunk.begin) - chunk.begin);
    const auto to = static_cast<std::size_t>(std::min(range.end, chunk.end()) - chunk.begin);
    auto run = std::prev(std::upper_bound(
        chunk.runs.begin(), chunk.runs.end(), from,
        [](std::size_t unit, std::uint16_t candidate) { return unit < run_begin(candidate); }));
    for (; run != chunk.runs.end() && run_begin(*run) < to; ++run) {
      const auto next = std::next(run);
      const std::size_t run_end = next == chunk.runs.end() ? chunk.size() : run_begin(*next);
      visit_run(chunk, std::max(from, run_begin(*run)), std::min(to, run_end), run_role(*run));
    }
  }
}

bool ReceiveDocument::has_line_break(const Chunk& chunk, std::size_t from, std::size_t to) {
  if (chunk.wide.empty()) return std::memchr(chunk.narrow.data() + from, '\n', to - from) != nullptr;
  return std::u16string_view(chunk.wide).substr(from, to - from).find(u'\n') != std::u16string_view::npos;
}

bool ReceiveDocument::on_one_line(Position one, Position other) const {
  const Range range = clamped({std::min(one, other), std::max(one, other)});
  if (range.empty()) return true;
  for (std::size_t index = chunk_at(range.begin); index < chunks_.size(); ++index) {
    const Chunk& chunk = chunks_[index];
    if (chunk.begin >= range.end) break;
    const auto from = static_cast<std::size_t>(std::max(range.begin, chunk.begin) - chunk.begin);
    const auto to = static_cast<std::size_t>(std::min(range.end, chunk.end()) - chunk.begin);
    if (has_line_break(chunk, from, to)) return false;
  }
  return true;
}

std::wstring ReceiveDocument::text(Range range) const {
  std::wstring result;
  result.reserve(range.empty() ? 0 : static_cast<std::size_t>(range.end - range.begin));
  visit(range, [&](const Chunk& chunk, std::size_t from, std::size_t to, ColorRole) {
    for (; from < to; ++from)
      result.push_back(chunk.unit(from));
  });
  return result;
}

DisplayBatch ReceiveDocument::runs(Range range) const {
  DisplayBatch result;
  visit(range, [&](const Chunk& chunk, std::size_t from, std::size_t to, ColorRole role) {
    for (wchar_t* at = result.extend(to - from, role); from < to; ++from)
      *at++ = chunk.unit(from);
  });
  return result;
}

// The longest stretch around `position` whose units all belong.
template <typename Predicate>
ReceiveDocument::Range ReceiveDocument::extent(Position position, Predicate&& belongs) const {
  Range range{position, position};
  for (std::size_t index = chunk_at(position); range.begin > first_; --index) {
    const Chunk& chunk = chunks_[index];
    const Position floor = std::max(first_, chunk.begin);
    while (range.begin > floor &&
           belongs(chunk.unit(static_cast<std::size_t>(range.begin - 1 - chunk.begin)))) {
      --range.begin;
    }
    if (range.begin > floor || floor == first_) break;
  }
  for (std::size_t index = chunk_at(position); index < chunks_.size(); ++index) {
    const Chunk& chunk = chunks_[index];
    while (range.end < chunk.end() &&
           belongs(chunk.unit(static_cast<std::size_t>(range.end - chunk.begin)))) {
      ++range.end;
    }
    if (range.end < chunk.end()) break;
  }
  return range;
}

ReceiveDocument::Range ReceiveDocument::line_around(Position position) const {
  if (empty()) return {first_, first_};
  return extent(std::clamp(position, first_, end_), [](wchar_t unit) { return unit != L'\n'; });
}

ReceiveDocument::Range ReceiveDocument::word_around(Position position) const {
  if (empty()) return {first_, first_};
  position = std::clamp(position, first_, end_);
  const Chunk& chunk = chunks_[chunk_at(position)];
  const auto offset = static_cast<std::size_t>(position - chunk.begin);
  const bool at_end = offset == chunk.size();
  if (at_end || chunk.unit(offset) == L'\n') return {position, position};
  return extent(position,
                [wanted = class_of(chunk.unit(offset))](wchar_t unit) { return class_of(unit) == wanted; });
}

}  // namespace hvt
