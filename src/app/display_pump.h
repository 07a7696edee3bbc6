#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <utility>

#include "app/inbox.h"
#include "display/display_history.h"
#include "display/display_queue.h"
#include "display/formatter.h"
#include "display/update_pace.h"
#include "ui/receive_view.h"

namespace hvt {

// Gets every text as it is formatted, before the view does; a text stands for `raw_rx_bytes` received bytes.
//
// Threads   the interface thread.
class TextSink {
 public:
  virtual ~TextSink() = default;
  virtual void take(const DisplayBatch& text) = 0;
  // What comes next begins a line, wherever the last text ended.
  virtual void break_line() = 0;
  // Everything that happened before stop_mark has been taken.
  virtual void stop_mark_reached() = 0;
  // False: the next text had better wait.
  virtual bool has_room() const = 0;
};

// Brings what the inbox holds into the receive view, a time slice at a time: formats it, keeps it in a queue,
// and lets the view take it from there.
//
// Promises  everything is formatted once, in order, and offered to the sink before anything else; one
//           run() ends soon after kSlice. Following, the view keeps the last `capacity` received bytes and as
//           many of sent packets and statuses; paused, nothing in it changes but that text is added below,
//           up to twice as many, and then the queue fills. Once that overflows, only Clear helps; what is
//           thrown away is counted, and not even formatted when nobody else wants the text.
// Threads   the interface thread.
// Owns      the material in progress, the line state, the queue and the history.
// Ends      with its owner; inbox and view outlive it.
class DisplayPump {
 public:
  static constexpr std::chrono::milliseconds kSlice{8};
  static constexpr std::chrono::milliseconds kTick{50};  // how often run() is called anyway while text moves
  static constexpr std::uint64_t kFirstCapacity = 1u << 20;

  using Clock = std::function<std::chrono::steady_clock::time_point()>;
  DisplayPump(Inbox& inbox, ReceiveView& view, Clock clock = std::chrono::steady_clock::now);

  struct Result {
    bool more = false;             // material is left: run again
    bool trickles = false;         // so little comes that the next kTick is soon enough for it
    bool shown = false;            // the view shows something new: its line count may be another one
    bool became_full = false;      // from now on nothing is shown until clear()
    std::uint64_t lost_bytes = 0;  // received bytes that the inbox could not keep, since the last run
  };
  Result run(const DisplayOptions& options, Language language);

  // Null for nobody. It outlives the pump or is taken away.
  void set_sink(TextSink* sink) {
    sink_ = sink;
    before_stop_ = sink != nullptr;
  }
  // False: what comes before stop_mark is for the sink only.
  void show_sink_text(bool show) { shows_sink_text_ = show; }

  // The view stays where it is until follow(), whatever arrives. Both may be called twice.
  void pause() { paused_ = true; }
  void follow();
  bool paused() const { return paused_; }

  // Received bytes kept in the view; fewer take effect at once, paused with follow().
  void set_capacity(std::uint64_t capacity);
  // Nothing is shown until clear(); this many received bytes were thrown away.
  bool full() const { return queue_.full(); }
  std::uint64_t dropped_bytes() const { return queue_.dropped_bytes(); }

  // Drops the material in progress and everything shown, and follows; the inbox is cleared by its owner.
  void clear();
  // The same for the view, while the sink still gets everything; the owner puts a clear_mark into the inbox.
  void clear_shown();

 private:
  using Time = std::chrono::steady_clock::time_point;

  bool fetch();
  void format_until(Time end, const DisplayOptions& options, Language language);
  void format_piece(const DisplayOptions& options, Language language);
  void enqueue();
  void add_to_queue(const DisplayBatch& text);
  void format_received(const DisplayOptions& options);
  void format_event(const InboxEvent& event, const DisplayOptions& options, Language language);
  void skip_fetched();
  bool can_show() const;
  bool may_format();
  void begin_anew();
  void show_until(Time end);
  void trim();
  bool trickles(Time now);

  Inbox& inbox_;
  ReceiveView& view_;
  const Clock clock_;
  TextSink* sink_ = nullptr;
  bool shows_sink_text_ = true;
  bool before_stop_ = false;       // what is formatted now came before the sink's stop_mark
  bool gap_ = false;               // something was not shown since the queue got text
  bool ends_inside_line_ = false;  // the text that the queue got
  int clears_ahead_ = 0;           // of the view, whose marks are not reached yet
  InboxBatch batch_;
  std::size_t next_event_ = 0;
  std::size_t next_byte_ = 0;
  std::size_t event_done_ = 0;  // bytes of the event at next_event_ that are formatted already
  std::uint64_t lost_bytes_ = 0;
  DisplayBatch text_;  // the piece being formatted; its memory serves them all
  DisplayLineState line_;
  std::uint64_t capacity_ = kFirstCapacity;
  DisplayQueue queue_{kFirstCapacity};
  bool became_full_ = false;  // in this run
  DisplayHistory history_;
  UpdatePace pace_;
  std::uint64_t received_bytes_ = 0;  // formatted or skipped since last_run_
  Time last_run_{};
  bool paused_ = false;
};

}  // namespace hvt
