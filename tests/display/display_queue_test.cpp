// The risks: text that is lost, doubled or cut inside a line break on its way to the view, a queue that grows
// without bound, and a view that keeps or drops what it should not.

#include "display/display_queue.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "display/display_history.h"
#include "display/update_pace.h"

namespace hvt {
namespace {

using namespace std::chrono_literals;

DisplayBatch packet(std::wstring_view text, std::uint64_t raw, std::uint64_t auxiliary = 0) {
  DisplayBatch batch;
  batch.add(text, ColorRole::normal);
  batch.raw_rx_bytes = raw;
  batch.auxiliary_bytes = auxiliary;
  return batch;
}

struct Cell {
  wchar_t unit;
  ColorRole role;
  friend bool operator==(const Cell&, const Cell&) = default;
};

std::vector<Cell> cells_of(const DisplayBatch& batch) {
  std::vector<Cell> cells;
  for (const DisplayRun run : batch) {
    for (const wchar_t unit : run.text)
      cells.push_back({unit, run.role});
  }
  return cells;
}

class RandomPackets {
 public:
  explicit RandomPackets(unsigned seed) : random_(seed) {}

  std::size_t number(std::size_t from, std::size_t to) {
    return std::uniform_int_distribution<std::size_t>(from, to)(random_);
  }

  // Line breaks are frequent, and CR and LF may be in different roles.
  DisplayBatch next(std::size_t longest) {
    DisplayBatch batch;
    const std::size_t length = number(0, longest);
    const std::size_t longest_run = number(0, 3) == 0 ? 5000 : 40;
    while (batch.characters() < length) {
      const auto role = static_cast<ColorRole>(number(0, kColorRoleCount - 1));
      batch.add(std::wstring(number(1, longest_run), static_cast<wchar_t>(L'a' + number(0, 25))), role);
      batch.add(L"\r", role);
      batch.add(L"\n", static_cast<ColorRole>(number(0, kColorRoleCount - 1)));
    }
    const bool received = number(0, 2) > 0;
    batch.raw_rx_bytes = received ? batch.characters() / number(1, 6) + 1 : 0;
    batch.auxiliary_bytes = received ? 0 : batch.characters() / 2;
    return batch;
  }

 private:
  std::mt19937 random_;
};

// What comes out of a queue, and the counts of its chunks.
struct Taken {
  std::vector<Cell> cells;
  std::uint64_t raw = 0;
  std::uint64_t auxiliary = 0;

  void take(DisplayQueue& queue) {
    const DisplayBatch& chunk = queue.front();
    ASSERT_LE(chunk.characters(), DisplayQueue::kChunkCharacters);
    ASSERT_LE(chunk.run_count(), DisplayQueue::kChunkRuns);
    const std::vector<Cell> more = cells_of(chunk);
    const bool cut_in_break =
        !cells.empty() && !more.empty() && cells.back().unit == L'\r' && more.front().unit == L'\n';
    ASSERT_FALSE(cut_in_break);
    cells.insert(cells.end(), more.begin(), more.end());
    raw += chunk.raw_rx_bytes;
    auxiliary += chunk.auxiliary_bytes;
    queue.pop();
  }
};

TEST(DisplayQueue, gives_out_in_chunks_what_it_took) {
  for (unsigned seed = 1; seed <= 30; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    RandomPackets random(seed);
    DisplayQueue queue(1u << 20);
    Taken expected;
    Taken taken;
    for (int step = 0; step < 60; ++step) {
      const DisplayBatch batch = random.next(random.number(0, 4) == 0 ? 30'000 : 300);
      ASSERT_EQ(queue.add(batch), DisplayQueue::Outcome::taken);
      const std::vector<Cell> cells = cells_of(batch);
      expected.cells.insert(expected.cells.end(), cells.begin(), cells.end());
      expected.raw += batch.raw_rx_bytes;
      if (!cells.empty()) expected.auxiliary += batch.auxiliary_bytes;
      for (std::size_t left = random.number(0, 5); left > 0 && !queue.empty(); --left)
        taken.take(queue);
      if (HasFatalFailure()) return;
    }
    while (!queue.empty())
      taken.take(queue);
    ASSERT_TRUE(taken.cells == expected.cells);
    ASSERT_EQ(taken.raw, expected.raw);
    ASSERT_EQ(taken.auxiliary, expected.auxiliary);
    ASSERT_EQ(queue.pending_bytes(), 0u);
    ASSERT_EQ(queue.pending_characters(), 0u);
  }
}

TEST(DisplayQueue, becomes_full_exactly_at_its_limits) {
  using enum DisplayQueue::Outcome;
  struct Case {
    const char* name;
    std::vector<DisplayBatch> packets;
    DisplayQueue::Outcome last;
    std::uint64_t dropped;
  };
  const auto long_one = [](std::size_t characters, std::uint64_t raw) {
    return packet(std::wstring(characters, L'a'), raw);
  };
  const auto tx = [](std::uint64_t bytes) { return packet(L"[TX]", 0, bytes); };
  const auto all = [](const auto&... batches) { return std::vector<DisplayBatch>{batches...}; };
  const Case cases[] = {
      {"all of the bytes", all(packet(L"a", 60), packet(L"b", 40)), taken, 0},
      {"one byte more", all(packet(L"a", 60), packet(L"b", 41)), became_full, 41},
      {"more than all at once", all(packet(L"a", 101)), became_full, 101},
      {"all of the characters", all(long_one(500, 1), long_one(300, 1)), taken, 0},
      {"one character more", all(long_one(500, 1), long_one(301, 7)), became_full, 7},
      {"text without bytes counts as one", all(packet(L"", 99), tx(30), tx(30)), became_full, 1},
      {"hidden bytes count", all(packet(L"", 100), packet(L"a", 1)), became_full, 1},
      {"nothing is nothing", all(packet(L"", 100), packet(L"", 0)), taken, 0},
      {"later ones are dropped and counted", all(packet(L"", 101), packet(L"a", 1), tx(5)), dropped, 102},
  };
  for (const Case& one : cases) {
    DisplayQueue queue(100);
    DisplayQueue::Outcome last = taken;
    for (const DisplayBatch& batch : one.packets)
      last = queue.add(batch);
    EXPECT_EQ(last, one.last) << one.name;
    EXPECT_EQ(queue.full(), one.last != taken) << one.name;
    EXPECT_EQ(queue.dropped_bytes(), one.dropped) << one.name;
  }
}

TEST(DisplayQueue, is_full_until_it_is_cleared_and_counts_without_wrapping) {
  DisplayQueue queue(10);
  queue.add(packet(L"kept", 4));
  queue.add(packet(L"x", 11));
  queue.drop(std::numeric_limits<std::uint64_t>::max() - 5);
  queue.drop(1000);
  EXPECT_EQ(queue.dropped_bytes(), std::numeric_limits<std::uint64_t>::max());
  EXPECT_EQ(queue.front().text(), L"kept");
  queue.pop();
  EXPECT_EQ(queue.add(packet(L"y", 1)), DisplayQueue::Outcome::dropped);
  queue.clear();
  EXPECT_FALSE(queue.full());
  EXPECT_EQ(queue.dropped_bytes(), 0u);
  EXPECT_EQ(queue.add(packet(L"z", 10)), DisplayQueue::Outcome::taken);
  EXPECT_EQ(queue.front().text(), L"z");
}

// A queue that waits behind a paused view for hours, on a line that brings one byte at a time.
TEST(DisplayQueue, small_pieces_of_received_data_share_chunks) {
  constexpr std::size_t kBytes = 100'000;
  DisplayQueue queue(kBytes + 1);
  for (std::size_t i = 0; i < kBytes; ++i) {
    const bool sent_between = i == kBytes / 2;
    if (sent_between) queue.add(packet(L"[TX]", 0, 1));
    queue.add(packet(L"a", 1));
  }
  std::wstring text;
  std::uint64_t raw = 0;
  std::size_t chunks = 0;
  for (; !queue.empty(); queue.pop(), ++chunks) {
    text += queue.front().text();
    raw += queue.front().raw_rx_bytes;
    ASSERT_TRUE(queue.front().raw_rx_bytes == 0 || queue.front().auxiliary_bytes == 0);
  }
  EXPECT_LE(chunks, kBytes / DisplayQueue::kJoinedBytes + 3);
  EXPECT_TRUE(text == std::wstring(kBytes / 2, L'a') + L"[TX]" + std::wstring(kBytes / 2, L'a'));
  EXPECT_EQ(raw, kBytes);
  EXPECT_EQ(queue.pending_bytes(), 0u);
}

TEST(DisplayQueue, keeps_the_newest_packet_when_it_shrinks) {
  DisplayQueue queue(100'000);
  queue.add(packet(L"oldest", 4000));
  queue.add(packet(L"older", 3000));
  queue.add(packet(std::wstring(20'000, L'n'), 5000));  // three chunks
  queue.set_capacity(8500);
  EXPECT_EQ(queue.pending_bytes(), 8000u);
  EXPECT_TRUE(queue.front().text() == L"older");
  queue.set_capacity(100);
  Taken taken;
  while (!queue.empty())
    taken.take(queue);
  EXPECT_EQ(taken.cells.size(), 20'000u);
  EXPECT_EQ(taken.raw, 5000u);
  EXPECT_EQ(queue.pending_bytes(), 0u);
}

// A history and the text it stands for: upper case received, lower case sent.
struct Shown {
  DisplayHistory history;
  std::wstring text;

  void add(std::wstring_view piece, std::uint64_t raw, std::uint64_t auxiliary) {
    text += piece;
    history.add({raw, piece.size(), auxiliary});
  }
  void expire(std::uint64_t capacity) {
    history.expire(capacity, [&](std::size_t first, std::size_t count) {
      ASSERT_LE(first + count, text.size());
      text.erase(first, count);
    });
  }
};

TEST(DisplayHistory, drops_whole_entries_of_the_kind_that_is_too_many) {
  struct Piece {
    const wchar_t* text;
    std::uint64_t raw;
    std::uint64_t auxiliary;
  };
  const auto rx = [](const wchar_t* text, std::uint64_t bytes) { return Piece{text, bytes, 0}; };
  const auto tx = [](const wchar_t* text, std::uint64_t bytes) { return Piece{text, 0, bytes}; };
  const auto all = [](const auto&... pieces) { return std::vector<Piece>{pieces...}; };
  struct Case {
    const char* name;
    std::vector<Piece> pieces;
    const wchar_t* left;
  };
  const Case cases[] = {
      {"just full", all(rx(L"A", 50), rx(L"B", 50)), L"AB"},
      {"one byte more takes the oldest only", all(rx(L"AA", 50), rx(L"B", 50), rx(L"C", 1)), L"BC"},
      {"hidden bytes take their share", all(rx(L"A", 50), rx(L"", 51)), L""},
      {"sent text does not count as received", all(rx(L"A", 100), tx(L"b", 100)), L"Ab"},
      {"received takes older sent along", all(tx(L"a", 5), rx(L"B", 60), tx(L"c", 5), rx(L"D", 60)), L"cD"},
      {"sent takes sent only", all(rx(L"A", 60), tx(L"bb", 60), rx(L"C", 1), tx(L"d", 60), rx(L"E", 1)),
       L"ACdE"},
      {"neighbours and others", all(rx(L"A", 1), tx(L"b", 60), tx(L"c", 60), rx(L"D", 1), tx(L"e", 100)),
       L"ADe"},
      {"from two places",
       all(rx(L"A", 1), tx(L"b", 60), rx(L"C", 1), tx(L"d", 60), rx(L"E", 1), tx(L"f", 60)), L"ACEf"},
      {"both", all(rx(L"A", 60), tx(L"b", 60), rx(L"C", 50), tx(L"d", 60), rx(L"E", 1)), L"CdE"},
  };
  for (const Case& one : cases) {
    Shown at_the_end;
    Shown each_time;
    for (const Piece& piece : one.pieces) {
      at_the_end.add(piece.text, piece.raw, piece.auxiliary);
      each_time.add(piece.text, piece.raw, piece.auxiliary);
      each_time.expire(100);
    }
    at_the_end.expire(100);
    EXPECT_EQ(at_the_end.text, one.left) << one.name;
    EXPECT_EQ(each_time.text, one.left) << one.name;
  }
}

constexpr UpdatePace::Time at(std::chrono::milliseconds time) {
  return UpdatePace::Time(1000s + time);
}

TEST(UpdatePace, shows_single_changes_at_once_and_a_burst_at_its_pace) {
  using enum UpdatePace::Backlog;
  UpdatePace pace;
  for (const auto time : {0ms, 3ms}) {  // an echo and its reply
    const auto due = pace.changed(at(time), none);
    EXPECT_TRUE(due.scroll && due.repaint);
  }
  int scrolls = 0;
  int repaints = 0;
  for (auto time = 10ms; time < 1010ms; time += 5ms) {
    const auto due = pace.changed(at(time), waits);
    scrolls += due.scroll ? 1 : 0;
    repaints += due.repaint ? 1 : 0;
  }
  EXPECT_GE(scrolls, 4);
  EXPECT_LE(scrolls, 5);
  EXPECT_GE(repaints, 19);
  EXPECT_LE(repaints, 20);
  const auto last = pace.changed(at(1011ms), none);
  EXPECT_TRUE(last.scroll && last.repaint);
  const auto nothing = pace.idle(at(1100ms));
  EXPECT_FALSE(nothing.scroll || nothing.repaint);
}

TEST(UpdatePace, holds_a_trickle_back_and_shows_its_end) {
  UpdatePace pace;
  int repaints = 0;
  auto time = 0ms;
  for (; time < 2000ms; time += 1ms) {
    repaints += pace.changed(at(time), UpdatePace::Backlog::none).repaint ? 1 : 0;
    EXPECT_FALSE(pace.idle(at(time)).repaint) << "it is not quiet";
  }
  EXPECT_GE(repaints, 39);
  EXPECT_LE(repaints, 90);
  while (pace.changed(at(time), UpdatePace::Backlog::none).repaint)
    time += 1ms;
  EXPECT_FALSE(pace.idle(at(time + 10ms)).repaint);
  const auto end = pace.idle(at(time + 25ms));
  EXPECT_TRUE(end.scroll && end.repaint);
  EXPECT_FALSE(pace.idle(at(time + 80ms)).repaint);
}

}  // namespace
}  // namespace hvt
