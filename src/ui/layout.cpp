#include "ui/layout.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <span>
#include <vector>

namespace hvt {
namespace {

// Logical pixels at 96 DPI.
constexpr int kMinimumWidth = 600;
constexpr int kCompactBelow = 700;  // narrower windows break the connection row in two
constexpr int kNarrowBelow = 740;   // narrower windows break the repeat row in two
constexpr int kFirstSide = 800;
constexpr int kCompactOpenHeight = 940;  // of a compact window with the transmit panel, at least
constexpr int kMargin = 8;
constexpr int kBarHeight = 30;  // of the menus, at the very top
constexpr int kBarMargin = 4;
constexpr int kBadgeHeight = 20;
constexpr int kLineHeight = 30;
constexpr int kControlHeight = 26;
constexpr int kTextFrame = 8;   // above and below the text of a control, together
constexpr int kSectionGap = 4;  // between the sections and before the status
constexpr int kViewGap = 2;     // a line ends with as much
constexpr int kViewMinimum = 80;
constexpr int kStatusHeight = 24;
constexpr int kTightGroupGap = 4;  // in a line that would not fit otherwise
constexpr int kUsualTextHeight = 16;

// What a kind draws beside its text. Kinds that stretch show as much of their text as fits.
constexpr int frame_width(ControlKind kind) {
  switch (kind) {
    case ControlKind::label:
    case ControlKind::title:
    case ControlKind::counter: return 2;
    case ControlKind::button: return 20;
    case ControlKind::menu_button:
    case ControlKind::bar_button: return 16;
    case ControlKind::badge: return 12;
    case ControlKind::check:
    case ControlKind::radio: return 22;
    case ControlKind::choice: return 34;
    case ControlKind::number_edit: return 16;
    case ControlKind::name_edit:
    case ControlKind::packet_edit:
    case ControlKind::receive_view:
    case ControlKind::status: break;
  }
  return 0;
}

// Distance to the control before it, in logical pixels.
enum class Gap { label = 1, unit = 4, near = 8, group = 12, section = 24 };

// Where an item puts the width that its line has left.
enum class Spare { none, widens, pushes_right };

// One control of a line. `least` is its smallest width in logical pixels with the usual font: it keeps a
// button's width when its caption changes, and it is the whole natural width of a control that widens.
struct Item {
  ControlId id;
  Gap gap = Gap::group;
  int least = 0;
  Spare spare = Spare::none;
  int height = 0;  // logical pixels; 0 for that of every control
};
using Line = std::span<const Item>;

// Items that belong beside each other; a line may end before each of `breaks`.
struct Row {
  Line items;
  std::span<const std::size_t> breaks;
};

constexpr Item kBarItems[]{
    {ControlId::menu_language},
    {ControlId::menu_theme, Gap::unit},
    {ControlId::menu_help, Gap::unit},
    {ControlId::update_badge, Gap::near, 60, Spare::none, kBadgeHeight},
    {ControlId::always_on_top, Gap::near, 0, Spare::pushes_right},
};
constexpr Item kConnectionItems[]{
    {ControlId::port, Gap::group, 150, Spare::widens},
    {ControlId::refresh, Gap::near, 80},
    {ControlId::connect, Gap::near, 112},
    {ControlId::timeout_label},
    {ControlId::timeout, Gap::label, 48},
    {ControlId::timeout_unit, Gap::unit},
};
constexpr Item kCommunicationItems[]{
    {ControlId::baud_label},      {ControlId::baud, Gap::label},
    {ControlId::data_bits_label}, {ControlId::data_bits, Gap::label},
    {ControlId::stop_bits_label}, {ControlId::stop_bits, Gap::label},
    {ControlId::parity_label},    {ControlId::parity, Gap::label},
};
constexpr Item kReceiveItems[]{
    {ControlId::receive_title},
    {ControlId::receive_ascii},
    {ControlId::receive_hex, Gap::near},
    {ControlId::line_break},
    {ControlId::hide_crlf},
    {ControlId::echo_sent},
    {ControlId::buffer_size_label},
    {ControlId::buffer_size, Gap::label},
    {ControlId::font_size_label},
    {ControlId::font_size, Gap::label},
    {ControlId::font_size_unit, Gap::unit},
    {ControlId::follow, Gap::group, 40},
    {ControlId::line_count, Gap::near, 140},
    {ControlId::clear, Gap::group, 72, Spare::pushes_right},
};
constexpr Item kRecordItems[]{
    {ControlId::record_title},
    {ControlId::record, Gap::group, 132},
    {ControlId::record_name, Gap::near, 150, Spare::widens},
    {ControlId::display_while_recording},
    {ControlId::open_folder, Gap::group, 96},
};
constexpr Item kTransmitItems[]{
    {ControlId::transmit},
    {ControlId::send_ascii},
    {ControlId::send_hex, Gap::near},
    {ControlId::auto_crlf},
};
constexpr auto kPacketItems = [] {
  std::array<std::array<Item, 2>, kPacketRows> rows{};
  for (std::size_t i = 0; i < kPacketRows; ++i) {
    rows[i] = {{{packet_field(i), Gap::group, 240, Spare::widens}, {send_button(i), Gap::near, 72}}};
  }
  return rows;
}();

constexpr Item kPacketFileItems[]{
    {ControlId::save_packets, Gap::group, 0, Spare::pushes_right},
    {ControlId::load_packets, Gap::near},
};
constexpr Item kRepeatItems[]{
    {ControlId::repeat_title},
    {ControlId::packet_number_label},
    {ControlId::start_packet, Gap::label, 32},
    {ControlId::packet_range, Gap::unit},
    {ControlId::end_packet, Gap::unit, 32},
    {ControlId::repeat_count_label},
    {ControlId::repeat_count, Gap::label, 48},
    {ControlId::wait_for_rx},
    {ControlId::rx_timeout_label},
    {ControlId::rx_timeout, Gap::label, 80},
    {ControlId::rx_timeout_unit, Gap::unit},
    {ControlId::interval_label},
    {ControlId::interval, Gap::label, 80},
    {ControlId::interval_unit, Gap::unit},
    {ControlId::repeat, Gap::group, 112, Spare::pushes_right},
};
// The folded panel: its header, and what also counts for the next time it is shown.
constexpr Item kFoldedItems[]{
    {ControlId::transmit},
    {ControlId::repeat_title, Gap::section},
    {ControlId::wait_for_rx},
    {ControlId::rx_timeout_label},
    {ControlId::rx_timeout, Gap::label, 80},
    {ControlId::rx_timeout_unit, Gap::unit},
};

constexpr std::size_t kConnectionBreaks[]{3};
constexpr std::size_t kReceiveBreaks[]{3, 6, 11};
constexpr std::size_t kRepeatBreaks[]{7, 8};
constexpr Row kConnectionRow{kConnectionItems, kConnectionBreaks};
constexpr std::size_t kRecordBreaks[]{3};
constexpr Row kRecordRow{kRecordItems, kRecordBreaks};
constexpr Row kReceiveRow{kReceiveItems, kReceiveBreaks};
constexpr std::size_t kFoldedBreaks[]{1};
constexpr Row kFoldedRow{kFoldedItems, kFoldedBreaks};
constexpr Row kRepeatRow{kRepeatItems, kRepeatBreaks};

// Turns logical pixels and measured texts into device pixels.
class Ruler {
 public:
  explicit Ruler(const Metrics& metrics) : metrics_(metrics) {}

  int px(int logical) const { return (logical * metrics_.dpi + 48) / 96; }
  int control_height() const { return std::max(px(kControlHeight), text_height() + px(kTextFrame)); }
  int line_height() const {
    return std::max(px(kLineHeight), control_height() + px(kLineHeight - kControlHeight));
  }
  int status_height() const { return std::max(px(kStatusHeight), metrics_.text_height + px(kTextFrame)); }

  int width(const Item& item) const {
    if (item.spare == Spare::widens) return px(item.least);
    const std::size_t i = index_of(item.id);
    return std::max({px(item.least), item.least * metrics_.text_height / kUsualTextHeight,
                     metrics_.text_width[i] + px(frame_width(kControls[i].kind))});
  }
  int gap(const Item& item, bool tight) const {
    return px(tight && item.gap == Gap::group ? kTightGroupGap : static_cast<int>(item.gap));
  }
  int width(Line line, bool tight) const {
    int total = -gap(line.front(), tight);
    for (const Item& item : line)
      total += gap(item, tight) + width(item);
    return total;
  }
  // Width between the margins.
  int inner(int client_width) const { return client_width - 2 * px(kMargin); }
  int bar_height() const {
    return std::max(px(kBarHeight), control_height() + px(kBarHeight - kControlHeight));
  }
  int height(const Item& item) const {
    return item.height == 0 ? control_height() : std::max(px(item.height), text_height() + px(2));
  }

 private:
  int text_height() const { return std::max(metrics_.text_height, metrics_.mono_height); }

  const Metrics& metrics_;
};

// The lines of a window from top to bottom; the receive view takes the height between the two parts.
struct Plan {
  std::vector<Line> connection;
  std::vector<Line> receive;
  std::vector<Line> record;
  std::vector<Line> transmit;
  std::vector<Line> repeat;

  std::array<const std::vector<Line>*, 5> sections() const {
    return {&connection, &receive, &record, &transmit, &repeat};
  }
};

// As few lines as fit `inner`; `broken` ends one at the last break even if everything would.
std::vector<Line> wrap(const Ruler& ruler, const Row& row, int inner, bool broken) {
  std::vector<Line> lines;
  std::size_t begin = 0;
  for (std::size_t i = 0; i < row.breaks.size(); ++i) {
    const bool last = i + 1 == row.breaks.size();
    const std::size_t end = last ? row.items.size() : row.breaks[i + 1];
    const bool too_wide = ruler.width(row.items.subspan(begin, end - begin), false) > inner;
    if (!too_wide && !(broken && last)) continue;
    lines.push_back(row.items.subspan(begin, row.breaks[i] - begin));
    begin = row.breaks[i];
  }
  lines.push_back(row.items.subspan(begin));
  return lines;
}

Plan make_plan(const Ruler& ruler, int client_width, const PanelState& panel) {
  const int inner = ruler.inner(client_width);
  const bool compact = client_width < ruler.px(kCompactBelow);
  const bool narrow = client_width < ruler.px(kNarrowBelow);

  Plan plan;
  plan.connection = wrap(ruler, kConnectionRow, inner, compact);
  plan.connection.emplace_back(kCommunicationItems);
  plan.receive = wrap(ruler, kReceiveRow, inner, false);
  plan.record = wrap(ruler, kRecordRow, inner, narrow);
  if (!panel.transmit_expanded) {
    plan.repeat = wrap(ruler, kFoldedRow, inner, false);
    return plan;
  }
  plan.transmit.emplace_back(kTransmitItems);
  plan.transmit.insert(plan.transmit.end(), kPacketItems.begin(), kPacketItems.end());
  plan.transmit.emplace_back(kPacketFileItems);
  plan.repeat = wrap(ruler, kRepeatRow, inner, narrow);
  return plan;
}

int height_without_view(const Ruler& ruler, const Plan& plan) {
  std::size_t lines = 0;
  for (const auto* const section : plan.sections())
    lines += section->size();
  return ruler.bar_height() + 2 * ruler.px(kMargin) + static_cast<int>(lines) * ruler.line_height() +
         5 * ruler.px(kSectionGap) + ruler.px(kViewGap) + ruler.status_height();
}

// The same whether the panel is folded or not, so that showing it never widens the window.
int minimum_width(const Ruler& ruler) {
  const Plan narrowest = make_plan(ruler, 0, PanelState{.transmit_expanded = true});
  int inner = 0;
  for (const auto* const lines : narrowest.sections()) {
    for (const Line line : *lines)
      inner = std::max(inner, ruler.width(line, true));
  }
  return std::max({ruler.px(kMinimumWidth), inner + 2 * ruler.px(kMargin),
                   ruler.width(kBarItems, false) + 2 * ruler.px(kBarMargin)});
}

// Puts the controls of a plan into place, line by line from the top.
class Placer {
 public:
  Placer(const Ruler& ruler, Size client, Placement& placement)
      : ruler_(ruler), client_(client), placement_(placement) {}

  void bar(Line line) { place(line, kBarMargin, ruler_.bar_height()); }
  void lines(const std::vector<Line>& lines) {
    for (const Line line : lines)
      place(line, kMargin, ruler_.line_height());
  }
  void full_width(ControlId id, int height) {
    placement_[index_of(id)] = {ruler_.px(kMargin), y_, ruler_.inner(client_.width), height};
    y_ += height;
  }
  void skip(int height) { y_ += height; }

 private:
  void place(Line line, int margin, int line_height) {
    const int inner = client_.width - 2 * ruler_.px(margin);
    const bool tight = ruler_.width(line, false) > inner;
    const int spare = std::max(0, inner - ruler_.width(line, tight));
    int x = ruler_.px(margin) - ruler_.gap(line.front(), tight);
    for (const Item& item : line) {
      x += ruler_.gap(item, tight) + (item.spare == Spare::pushes_right ? spare : 0);
      const int width = ruler_.width(item) + (item.spare == Spare::widens ? spare : 0);
      const int height = ruler_.height(item);
      placement_[index_of(item.id)] = {x, y_ + (line_height - height) / 2, width, height};
      x += width;
    }
    y_ += line_height;
  }

  const Ruler& ruler_;
  Size client_;
  Placement& placement_;
  int y_ = 0;
};

}  // namespace

Placement layout(const Metrics& metrics, Size client, const PanelState& panel) {
  const Ruler ruler{metrics};
  // A smaller client is cut off at its right and lower edges rather than squeezed.
  const Size minimum = minimum_client_size(metrics, client.width, panel);
  client = {std::max(client.width, minimum.width), std::max(client.height, minimum.height)};
  const Plan plan = make_plan(ruler, client.width, panel);

  Placement placement{};
  Placer placer{ruler, client, placement};
  placer.bar(kBarItems);
  placer.skip(ruler.px(kMargin));
  placer.lines(plan.connection);
  placer.skip(ruler.px(kSectionGap));
  placer.lines(plan.receive);
  placer.skip(ruler.px(kViewGap));
  placer.full_width(ControlId::receive_view, client.height - height_without_view(ruler, plan));
  placer.skip(ruler.px(kSectionGap));
  placer.lines(plan.record);
  placer.skip(ruler.px(kSectionGap));
  placer.lines(plan.transmit);
  placer.skip(ruler.px(kSectionGap));
  placer.lines(plan.repeat);
  placer.skip(ruler.px(kSectionGap));
  placer.full_width(ControlId::status, ruler.status_height());
  return placement;
}

Size minimum_client_size(const Metrics& metrics, int proposed_width, const PanelState& panel) {
  const Ruler ruler{metrics};
  const int least = minimum_width(ruler);
  const int width = std::max(least, proposed_width);
  const int height = height_without_view(ruler, make_plan(ruler, width, panel)) + ruler.px(kViewMinimum);
  const bool roomy = panel.transmit_expanded && width < ruler.px(kCompactBelow);
  return {least, roomy ? std::max(height, ruler.px(kCompactOpenHeight)) : height};
}

Size fit_client_size(const Metrics& metrics, Size wanted, const PanelState& panel, Size largest) {
  const Ruler ruler{metrics};
  for (const int profile : {0, ruler.px(kCompactBelow), ruler.px(kNarrowBelow)}) {
    const int width = std::min(std::max(wanted.width, profile), largest.width);
    const Size least = minimum_client_size(metrics, width, panel);
    if (least.height <= largest.height)
      return {std::max(width, least.width), std::clamp(wanted.height, least.height, largest.height)};
  }
  const int width = std::max(wanted.width, ruler.px(kNarrowBelow));
  return {std::min(width, largest.width), std::min(ruler.px(kFirstSide), largest.height)};
}

Size first_client_size(const Metrics& metrics) {
  const Ruler ruler{metrics};
  return {ruler.px(kFirstSide), ruler.px(kFirstSide)};
}

}  // namespace hvt
