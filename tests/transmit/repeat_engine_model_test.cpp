// Risk: a sequence of packets, answers, stops and failures that nobody thought of breaks the queue, the waits
// or the order of what is reported.

#include <gtest/gtest.h>

#include <atomic>
#include <deque>
#include <optional>
#include <random>

#include "tests/transmit/engine_rig.h"

namespace hvt::test {
namespace {

constexpr int kTimeoutMs = 20;

// A manual run as one would do it by hand, one thing after the other; its log is that of EngineRig.
class Model {
 public:
  std::string log;
  bool held = false;
  bool fails = false;
  int now = 0;

  std::wstring send(char letter, bool waits) {
    if (running_ && stopping_) return L"Manual transmission is stopping.";
    if (!running_) stopping_ = false;
    running_ = true;
    queue_.push_back({letter, waits});
    proceed();
    return {};
  }

  std::string receive() {
    if (current_) {
      const int elapsed = now - start_;
      current_ = false;
      if (armed_ && elapsed > kTimeoutMs) {
        outcome_ = Outcome::reported;
        proceed();
        return "late, timed out";
      }
      outcome_ = Outcome::response;
      elapsed_ = elapsed;
      proceed();
      return std::string("response ") + std::to_string(elapsed);
    }
    if (!std::exchange(expired_, false)) return "plain";
    return "late";
  }

  void advance(int ms) {
    now += ms;
    proceed();
  }

  void clear() {
    cancel();
    expired_ = false;
    proceed();
  }

  void stop() {
    if (!running_) return;
    stopping_ = true;
    cancel();
    proceed();
  }

  void proceed() {
    while (running_ && step()) {
    }
  }

 private:
  struct Entry {
    char letter;
    bool waits;
  };
  enum class Outcome { none, pending, response, timed_out, reported, cancelled };

  void add(const std::string& entry) { log += entry + " "; }
  void cancel() {
    if (current_) outcome_ = Outcome::cancelled;
    current_ = false;
  }

  // False when the run has to wait for something.
  bool step() {
    if (writing_) return !held && (write_ended(), true);
    if (!stopping_ && !queue_.empty()) return begin(), true;
    if (outcome_ == Outcome::none) return end(stopping_ ? "5" : "4", stopping_), true;
    if (current_ && now - start_ >= kTimeoutMs) {
      current_ = false;
      expired_ = true;
      outcome_ = Outcome::timed_out;
    }
    if (outcome_ == Outcome::pending) return false;
    report();
    return true;
  }

  void begin() {
    const Entry entry = queue_.front();
    queue_.pop_front();
    cancel();
    expired_ = false;
    if (outcome_ != Outcome::cancelled) report();
    outcome_ = entry.waits ? Outcome::pending : Outcome::none;
    current_ = entry.waits;
    armed_ = false;
    start_ = now;
    writing_ = entry;
    packet_ = std::string(1, entry.letter);
    add(std::string("1") + packet_);
    add(std::string("w") + packet_ + "@" + std::to_string(now));
  }

  void write_ended() {
    writing_.reset();
    if (fails) {
      add("!");
      add("d");
      return end("6:broken", true);
    }
    armed_ = true;
    if (current_) start_ = now;
    add(std::string("2") + packet_);
  }

  void report() {
    const Outcome outcome = std::exchange(outcome_, Outcome::none);
    if (outcome == Outcome::response) {
      add(std::string("2") + packet_);
      add(std::string("t") + std::to_string(elapsed_));
    }
    if (outcome == Outcome::timed_out) add(std::string("3") + packet_);
    if (outcome == Outcome::timed_out || outcome == Outcome::reported) add("t-");
    if (outcome == Outcome::cancelled) add("4");
  }

  void end(const std::string& last, bool cancels) {
    running_ = false;
    queue_.clear();
    outcome_ = Outcome::none;
    if (cancels) current_ = expired_ = false;
    add(last);
  }

  std::deque<Entry> queue_;
  std::optional<Entry> writing_;
  std::string packet_;  // written last
  Outcome outcome_ = Outcome::none;
  bool running_ = false;
  bool stopping_ = false;
  bool current_ = false;
  bool expired_ = false;
  bool armed_ = false;
  int start_ = 0;
  int elapsed_ = 0;
};

TEST(RepeatEngineModel, AnySequenceGivesWhatASequentialRunGives) {
  for (unsigned seed = 1; seed <= 40; ++seed) {
    std::minstd_rand random(seed);
    EngineRig rig;
    Model model;
    std::string history;
    for (int i = 0; i < 80; ++i) {
      const auto choice = random() % 100;
      if (choice < 40) {
        const char letter = static_cast<char>('A' + i % 26);
        const bool waits = random() % 3 != 0;
        history += std::string(waits ? " send?" : " send ") + letter;
        const auto refusal = model.send(letter, waits);
        ASSERT_EQ(rig.send(std::string(1, letter), waits ? kTimeoutMs : 0), refusal) << seed << history;
      } else if (choice < 58) {
        history += " receive";
        const std::string expected = model.receive();
        ASSERT_EQ(rig.receive(), expected) << seed << history;
      } else if (choice < 72) {
        const int ms = static_cast<int>(random() % 25);
        history += std::string(" +") + std::to_string(ms);
        model.advance(ms);
        rig.system->advance(milliseconds(ms));
      } else if (choice < 77) {
        history += " clear";
        model.clear();
        rig.clear();
      } else if (choice < 82) {
        history += " stop";
        model.stop();
        rig.engine->stop();
      } else if (choice < 85 && model.held) {
        history += " failing";
        rig.fail_writes(model.fails = !model.fails);
      } else {
        history += model.held ? " release" : " hold";
        rig.hold_writes(model.held = !model.held);
        model.proceed();
      }
      ASSERT_EQ(rig.log(model.log), model.log) << "seed " << seed << ":" << history;
    }
  }
}

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

TEST(RepeatEngineModel, ReportsStandInTheOrderOfTheWaits) {
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
