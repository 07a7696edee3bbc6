// The risk: positions, rows and colours that drift apart after thousands of appends, trims and re-wraps. A
// plain string, wrapped unit by unit from its start, is the model for everything the document computes
// piecemeal.

#include "display/receive_document.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace hvt {
namespace {

using Range = ReceiveDocument::Range;

DisplayBatch batch_of(std::wstring_view text, ColorRole role = ColorRole::normal) {
  DisplayBatch batch;
  batch.add(text, role);
  return batch;
}

class Model {
 public:
  explicit Model(std::size_t columns) : columns_(columns) {}

  void append(const DisplayBatch& batch) {
    for (const DisplayRun run : batch) {
      for (const wchar_t unit : run.text) {
        if (unit == L'\r') continue;
        text_.push_back(unit);
        roles_.push_back(run.role);
      }
    }
  }

  void trim_head(std::size_t units) {
    units = std::min(units, text_.size());
    const std::vector<Range> before = rows();
    const auto row =
        std::find_if(before.rbegin(), before.rend(), [&](const Range& r) { return r.begin <= units; });
    if (row != before.rend()) {
      const std::size_t kept_cells = row->begin == 0 ? phase_ : 0;
      phase_ = kept_cells + cells(static_cast<std::size_t>(row->begin), units);
    }
    text_.erase(0, units);
    roles_.erase(roles_.begin(), roles_.begin() + static_cast<std::ptrdiff_t>(units));
    if (text_.empty()) phase_ = 0;
  }

  void remove(std::size_t first, std::size_t count) {
    if (first == 0) return trim_head(count);
    first = std::min(first, text_.size());
    count = std::min(count, text_.size() - first);
    text_.erase(first, count);
    const auto role = roles_.begin() + static_cast<std::ptrdiff_t>(first);
    roles_.erase(role, role + static_cast<std::ptrdiff_t>(count));
  }

  void set_columns(std::size_t columns) {
    if (columns != columns_) phase_ = 0;
    columns_ = columns;
  }

  // Offsets from the model's own start.
  std::vector<Range> rows() const {
    std::vector<Range> rows;
    if (text_.empty()) return rows;
    std::size_t used = phase_;
    std::size_t begin = 0;
    for (std::size_t i = 0; i < text_.size(); ++i) {
      const bool line_break = text_[i] == L'\n';
      const std::size_t width = line_break ? 0 : cell_width(text_[i]);
      if (width > 0 && used > 0 && used + width > columns_) {
        if (i > begin) rows.push_back({begin, i});
        begin = i;
        used = 0;
      }
      used = std::min(used + width, columns_);
      if (line_break) {
        rows.push_back({begin, i});
        begin = i + 1;
        used = 0;
      }
    }
    rows.push_back({begin, text_.size()});
    return rows;
  }

  const std::wstring& text() const { return text_; }
  const std::vector<ColorRole>& roles() const { return roles_; }

 private:
  std::size_t cells(std::size_t from, std::size_t to) const {
    std::size_t sum = 0;
    for (; from < to; ++from)
      sum += text_[from] == L'\n' ? 0 : cell_width(text_[from]);
    return sum;
  }

  std::wstring text_;
  std::vector<ColorRole> roles_;
  std::size_t columns_;
  std::size_t phase_ = 0;  // cells of the first row that were trimmed
};

// Text and colours in full; of very many rows a sample.
void expect_same(const ReceiveDocument& document, const Model& model) {
  const Range whole{document.first(), document.end()};
  ASSERT_EQ(document.text(whole), model.text());

  std::vector<ColorRole> roles;
  for (const DisplayRun run : document.runs(whole))
    roles.insert(roles.end(), run.text.size(), run.role);
  ASSERT_TRUE(roles == model.roles());

  const std::vector<Range> rows = model.rows();
  ASSERT_EQ(document.row_count(), rows.size());
  const std::size_t stride = 1 + rows.size() / 500;
  for (std::size_t i = rows.size() % stride; i < rows.size(); i += stride) {
    const Range row = document.row_range(document.first_row() + i);
    ASSERT_EQ(row.begin - document.first(), rows[i].begin) << "begin of row " << i;
    ASSERT_EQ(row.end - document.first(), rows[i].end) << "end of row " << i;
    if (!row.empty()) {
      ASSERT_EQ(document.row_of(row.begin), document.first_row() + i);
      ASSERT_EQ(document.row_of(row.end - 1), document.first_row() + i);
    }
  }
}

class RandomText {
 public:
  explicit RandomText(unsigned seed) : random_(seed) {}

  std::size_t number(std::size_t from, std::size_t to) {
    return std::uniform_int_distribution<std::size_t>(from, to)(random_);
  }

  // `break_every` 0 gives no line break; wide characters come whole, surrogate pairs included.
  DisplayBatch batch(std::size_t length, std::size_t break_every, bool with_wide) {
    DisplayBatch batch;
    while (batch.characters() < length) {
      std::wstring piece(number(1, 9), static_cast<wchar_t>(L'a' + number(0, 25)));
      if (with_wide && number(0, 7) == 0) piece += number(0, 1) == 0 ? L"\xD55C\xAE00" : L"\xD83D\xDE00";
      if (break_every != 0 && number(0, break_every) == 0) piece += L"\r\n";
      batch.add(piece, static_cast<ColorRole>(number(0, kColorRoleCount - 1)));
    }
    return batch;
  }

 private:
  std::mt19937 random_;
};

struct RandomCase {
  const char* name;
  std::size_t break_every;
  bool with_wide;
  std::size_t longest_batch;
};

TEST(ReceiveDocument, equals_a_plain_string_under_random_operations) {
  constexpr RandomCase kCases[] = {
      {"short lines", 2, false, 300},
      {"lines longer than the width", 60, false, 900},
      {"one endless line", 0, false, 3000},
      {"only line breaks and crumbs", 1, false, 20},
      {"wide characters among them", 5, true, 500},
      {"one endless line with wide characters", 0, true, 3000},
  };
  for (const RandomCase& one : kCases) {
    for (unsigned seed = 1; seed <= 4; ++seed) {
      SCOPED_TRACE(std::string(one.name) + ", seed " + std::to_string(seed));
      RandomText random(seed);
      ReceiveDocument document;
      Model model(document.columns());
      for (int step = 0; step < 48; ++step) {
        switch (random.number(0, 6)) {
          case 0: {
            const std::size_t units = random.number(0, 5 * one.longest_batch);
            document.trim_head(units);
            model.trim_head(units);
            break;
          }
          case 1: {
            const std::size_t columns = random.number(1, 90);
            document.set_columns(columns);
            model.set_columns(columns);
            break;
          }
          case 2: {
            const std::size_t first = random.number(0, model.text().size() + 3);
            const std::size_t count = random.number(0, 3 * one.longest_batch);
            document.remove({document.first() + first, document.first() + first + count});
            model.remove(first, count);
            break;
          }
          default: {
            const DisplayBatch batch =
                random.batch(random.number(0, one.longest_batch), one.break_every, one.with_wide);
            const std::size_t before = model.text().size();
            model.append(batch);
            ASSERT_EQ(document.append(batch), model.text().size() - before);
          }
        }
        if (step % 4 == 0) expect_same(document, model);
        if (HasFatalFailure()) return;
      }
      expect_same(document, model);
    }
  }
}

TEST(ReceiveDocument, keeps_rows_and_positions_of_what_remains_while_text_comes_and_goes) {
  RandomText random(7);
  ReceiveDocument document;
  document.set_columns(37);
  document.append(random.batch(20'000, 0, false));
  const ReceiveDocument::Row row = document.last_row() - 3;
  const Range range = document.row_range(row);
  const std::wstring text = document.text(range);

  for (int i = 0; i < 200; ++i) {
    document.append(random.batch(8192, 40, false));
    document.trim_head(90);
    ASSERT_EQ(document.row_range(row), range);
    ASSERT_EQ(document.text(range), text);
  }
}

TEST(ReceiveDocument, counts_rows_like_a_text_control) {
  struct Case {
    const char* name;
    const wchar_t* text;
    std::size_t rows;
  };
  constexpr Case kCases[] = {
      {"empty", L"", 0},
      {"less than a row", L"abc", 1},
      {"exactly a row", L"abcd", 1},
      {"one more", L"abcde", 2},
      {"a full row and its break", L"abcd\r\nx", 2},
      {"break at the end opens a row", L"ab\r\n", 2},
      {"only breaks", L"\r\n\r\n", 3},
      {"wide character does not fit the last cell", L"abc\xD55C", 2},
      {"pair stays together", L"ab\xD83D\xDE00", 1},
  };
  for (const Case& one : kCases) {
    ReceiveDocument document;
    document.set_columns(4);
    document.append(batch_of(one.text));
    EXPECT_EQ(document.row_count(), one.rows) << one.name;
  }
}

TEST(ReceiveDocument, starts_afresh_after_clear_and_after_trimming_everything) {
  for (const bool by_trimming : {false, true}) {
    ReceiveDocument document;
    document.set_columns(4);
    document.append(batch_of(L"abcdefg\r\nh"));
    document.trim_head(3);
    by_trimming ? document.trim_head(1000) : document.clear();
    EXPECT_TRUE(document.empty());
    EXPECT_EQ(document.row_count(), 0U);
    document.append(batch_of(L"abcd", ColorRole::timeout));
    EXPECT_EQ(document.row_count(), 1U);
    EXPECT_EQ((*document.runs({document.first(), document.end()}).begin()).role, ColorRole::timeout);
  }
}

TEST(ReceiveDocument, finds_words_and_lines_across_chunks) {
  const std::wstring word(10'000, L'w');
  ReceiveDocument document;
  document.append(batch_of(L"one <0xAB> two\r\n" + word + L" end"));
  const auto text_of = [&](Range range) { return document.text(range); };

  EXPECT_EQ(text_of(document.word_around(0)), L"one");
  EXPECT_EQ(text_of(document.word_around(6)), L"0xAB");
  EXPECT_EQ(text_of(document.word_around(4)), L"<");
  EXPECT_EQ(text_of(document.line_around(3)), L"one <0xAB> two");
  EXPECT_EQ(document.word_around(9'000), (Range{15, 15 + word.size()}));
  EXPECT_EQ(document.line_around(document.end()), (Range{15, document.end()}));
  EXPECT_TRUE(document.word_around(document.end()).empty());
}

}  // namespace
}  // namespace hvt
