// Risk: what the worker and the reader report of the same packet stands in an order that cannot be.

#include <gtest/gtest.h>

#include <atomic>
#include <map>
#include <random>

#include "tests/transmit/engine_rig.h"

namespace hvt::test {
namespace {

constexpr int kTimeoutMs = 20;

// What the display gets, from three threads at once: after a packet comes either its time-out or the first
// answer to it, and nothing of an earlier packet.
class Journal {
 public:
  enum class Note { packet, timed_out, response, late, late_timed_out, plain, cleared };

  void add(Note note) {
    const std::lock_guard lock(mutex_);
    const bool fits = note == Note::packet || note == Note::cleared ||
                      (note == Note::timed_out || note == Note::response || note == Note::late_timed_out
                           ? last_ == Note::packet
                       : note == Note::late ? last_ == Note::timed_out
                                            : last_ != Note::packet && last_ != Note::timed_out);
    if (!fits) ++misplaced_[{last_, note}];
    ++count_[note];
    last_ = note;
  }
  std::map<std::pair<Note, Note>, int> misplaced() {
    const std::lock_guard lock(mutex_);
    return misplaced_;
  }
  bool is_waiting() {
    const std::lock_guard lock(mutex_);
    return last_ == Note::packet;
  }
  int packets() {
    const std::lock_guard lock(mutex_);
    return count_[Note::packet];
  }
  // Everything has happened at least once.
  bool complete() {
    const std::lock_guard lock(mutex_);
    return count_.size() == 7;
  }

 private:
  std::mutex mutex_;
  Note last_ = Note::plain;
  std::map<std::pair<Note, Note>, int> misplaced_;
  std::map<Note, int> count_;
};

TEST(ReportOrder, ReportsStandInTheOrderOfTheWaits) {
  using Note = Journal::Note;
  const auto slot = std::make_shared<ResponseWaitSlot>();
  const auto system = std::make_shared<ManualSystem>(ManualSystem::Wakes::polling);
  Journal journal;
  RepeatEngine engine(slot, {[](auto, auto&) { return true; }, [] {}}, system);
  const auto linger = [](unsigned yields) {
    for (; yields > 0; --yields)
      std::this_thread::yield();
  };
  const auto on_event = [&](const RepeatEvent& event) {
    const bool timed_out = event.kind == RepeatEventKind::timed_out;
    if (!timed_out && event.kind != RepeatEventKind::sending) return;
    linger(timed_out ? 200 : 20);  // gives the reader time to come in between
    journal.add(timed_out ? Note::timed_out : Note::packet);
  };
  std::atomic<bool> done{false};
  std::jthread reader([&] {
    for (unsigned i = 0; !done; ++i) {
      {
        const ResponseWaitSlot::Turn turn(*slot);
        const auto timing = on_received(turn, system->now());
        linger(i % 3);
        if (!timing) {
          journal.add(Note::plain);
        } else if (timing->kind == ReceiveTimingInfo::Kind::response) {
          journal.add(Note::response);
        } else {
          journal.add(timing->timeout_ms ? Note::late_timed_out : Note::late);
        }
      }
      linger(i % 8 == 0 ? 3000 : i % 100);
    }
  });
  std::minstd_rand random(5);
  for (int i = 0; i < 200 || !journal.complete(); ++i) {
    std::wstring error;
    EXPECT_TRUE(engine.send_manual(Bytes{1}, {true, kTimeoutMs}, on_event, {}, error));
    if (i % 2 == 0) {
      linger(static_cast<unsigned>(random() % 50));  // the next packet may come first
    } else {
      while (journal.packets() <= i)
        std::this_thread::yield();
      while (journal.is_waiting()) {
        system->advance(milliseconds(kTimeoutMs + 1));
        std::this_thread::yield();
      }
    }
    if (i % 10 == 0) {
      const ResponseWaitSlot::Turn turn(*slot);
      journal.add(Note::cleared);
      cancel_waits(turn, system->now());
    }
  }
  done = true;
  reader.join();
  engine.stop_and_join();
  EXPECT_TRUE(journal.misplaced().empty()) << ::testing::PrintToString(journal.misplaced());
}

}  // namespace
}  // namespace hvt::test
