#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "display/display_batch.h"

namespace hvt {

// How the receive view shows data, computed afresh from the settings for every block.
struct DisplayOptions {
  bool hex = false;
  bool line_break = false;  // break the display line after every LF byte (ASCII only)
  bool hide_crlf = false;   // effective flag: never set together with hex
  bool labels = false;      // direction labels and sent packets are shown
  bool timing = true;       // response-time suffixes are shown
};

enum class LineKind : std::uint8_t { status = 0, rx = 1, tx = 2 };

// Where the display text stands, kept from one block to the next. A cleared view starts from the default.
struct DisplayLineState {
  bool raw_line = false;  // the caller's: hide_crlf is ignored, a continuing RX stream counts as labelled
  bool line_has_text = false;  // something was written since the view was cleared
  bool at_line_start = false;  // the last character written was LF
  bool tx_line_open = false;   // a "[TX] " line still waits for its time suffix or reply
  bool hex_continues = false;  // the next Hex chunk needs one separating space
  bool last_labels = false;    // labels flag of the previous RX chunk
  LineKind last_kind = LineKind::status;
};

// Turns received and sent bytes into receive-view text with colour roles. Pure text logic: formatting a
// stream in any chunking gives the text of formatting it whole. Each function appends to `out` and counts
// the bytes it stands for.
//
// Roles come from the bytes: a "<CR>" that was received as four characters is payload, not control.
//
// Threads   the interface thread only.
void format_rx(std::span<const std::uint8_t> bytes, const DisplayOptions& options, DisplayLineState& state,
               DisplayBatch& out, std::optional<std::wstring_view> label_override = std::nullopt);
// The echo of one sent packet; its line stays open for suffixes.
void format_tx(std::span<const std::uint8_t> bytes, const DisplayOptions& options, DisplayLineState& state,
               DisplayBatch& out);
// A sent packet that is not shown: what becomes of it is not said at the line of the packet before it.
void format_hidden_tx(DisplayLineState& state, DisplayBatch& out);
// A line of its own: repeat separator, lone status.
void format_standalone(std::wstring_view text, ColorRole role, DisplayLineState& state, DisplayBatch& out);

// What became of a sent packet's wait for a response, behind the packet on its open line: " [1.2 ms]",
// " [TIMEOUT]", " [LATE]". Without an open line (sent packets are not shown) a time-out and a late reply are
// lines of their own, and an elapsed time is not shown. Each is to be called once for one wait.
using Milliseconds = std::chrono::duration<double, std::milli>;
void format_elapsed(Milliseconds elapsed, const DisplayOptions& options, DisplayLineState& state,
                    DisplayBatch& out);
void format_timeout(DisplayLineState& state, DisplayBatch& out);
void format_late(DisplayLineState& state, DisplayBatch& out);

// "[1.2 ms]": one decimal and a full stop, whatever the locale.
std::wstring elapsed_text(Milliseconds elapsed);

}  // namespace hvt
