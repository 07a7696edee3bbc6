#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>

#include "app/inbox.h"
#include "display/display_history.h"
#include "display/formatter.h"
#include "ui/receive_view.h"

namespace hvt {

// Brings what the inbox holds into the receive view, a time slice at a time.
//
// Promises  everything is formatted once, in order; one run() ends soon after kSlice; the view keeps the last
//           `kCapacityBytes` received bytes.
// Threads   the interface thread.
// Owns      the material in progress, the line state and the history.
// Ends      with its owner; inbox and view outlive it.
class DisplayPump {
 public:
  static constexpr std::chrono::milliseconds kSlice{8};

  DisplayPump(Inbox& inbox, ReceiveView& view);

  struct Result {
    bool more = false;             // material is left: run again
    std::uint64_t lost_bytes = 0;  // received bytes that the inbox could not keep, since the last run
  };
  Result run(const DisplayOptions& options);

  // Drops the material in progress and everything shown; the inbox is cleared by its owner.
  void clear();

 private:
  bool next_piece(const DisplayOptions& options);
  bool fetch();
  void show_text();

  static constexpr std::uint64_t kCapacityBytes = 1u << 20;  // received bytes kept in the view

  Inbox& inbox_;
  ReceiveView& view_;
  bool following_ = true;
  InboxBatch batch_;
  std::size_t next_event_ = 0;
  std::size_t next_byte_ = 0;
  std::size_t event_done_ = 0;  // bytes of the event at next_event_ that are shown already
  std::uint64_t lost_bytes_ = 0;
  DisplayBatch text_;  // the piece being shown; its memory serves them all
  DisplayLineState line_;
  DisplayHistory history_;
};

}  // namespace hvt
