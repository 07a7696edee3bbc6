#include "app/settings_binding.h"

#include <algorithm>
#include <iterator>
#include <span>
#include <string_view>
#include <vector>

#include "ui/choices.h"

namespace hvt {
namespace {

struct FlagRow {
  bool AppSettings::*setting;
  bool Facts::*fact;
};
constexpr FlagRow kFlags[]{
    {&AppSettings::receive_crlf_line_breaks, &Facts::line_break},
    {&AppSettings::hide_receive_crlf, &Facts::hide_crlf},
    {&AppSettings::receive_hex, &Facts::receive_hex},
    {&AppSettings::send_hex, &Facts::send_hex},
    {&AppSettings::auto_append_crlf, &Facts::auto_crlf},
    {&AppSettings::echo_sent, &Facts::echo_sent},
    {&AppSettings::transmit_enabled, &Facts::transmit_expanded},
    {&AppSettings::wait_for_rx, &Facts::wait_for_rx},
    {&AppSettings::display_while_recording, &Facts::display_while_recording},
    {&AppSettings::always_on_top, &Facts::always_on_top},
};

struct FieldRow {
  std::wstring AppSettings::*setting;
  ControlId field;
};
constexpr FieldRow kFields[]{
    {&AppSettings::repeat_count, ControlId::repeat_count},
    {&AppSettings::packet_start, ControlId::start_packet},
    {&AppSettings::packet_end, ControlId::end_packet},
    {&AppSettings::interval_milliseconds, ControlId::interval},
    {&AppSettings::response_timeout_milliseconds, ControlId::rx_timeout},
};

// `stored` are the texts of the settings' file; `captions` are what is shown for them, empty for the same.
struct ChoiceRow {
  std::wstring AppSettings::*setting;
  ControlId choice;
  std::span<const std::wstring_view> stored;
  std::span<const TextId> captions;
};
constexpr ChoiceRow kChoices[]{
    {&AppSettings::baud_rate, ControlId::baud, kBaudRates, {}},
    {&AppSettings::data_bits, ControlId::data_bits, kDataBits, {}},
    {&AppSettings::stop_bits, ControlId::stop_bits, kStopBits, {}},
    {&AppSettings::parity, ControlId::parity, kParityNames, kParities},
};

static_assert(kSendItemCount == kPacketRows);

bool is_entry(const ChoiceRow& row, std::wstring_view text) {
  return std::ranges::find(row.stored, text) != row.stored.end();
}

std::size_t row_of(const ChoiceRow& row, std::wstring_view text) {
  return static_cast<std::size_t>(std::ranges::find(row.stored, text) - row.stored.begin());
}

std::vector<std::wstring> entries(const ChoiceRow& row, const std::wstring& saved, Language language) {
  std::vector<std::wstring> shown;
  for (std::size_t i = 0; i < row.stored.size(); ++i)
    shown.emplace_back(row.captions.empty() ? row.stored[i] : text(row.captions[i], language));
  if (!is_entry(row, saved)) shown.push_back(saved);
  return shown;
}

std::size_t timeout_row(std::int32_t seconds) {
  const auto found = std::ranges::find(kTimeoutSeconds, std::to_wstring(seconds));
  return static_cast<std::size_t>(found - kTimeoutSeconds.begin());
}

}  // namespace

void SettingsBinding::show(const AppSettings& settings, MainWindow& window, Facts& facts) {
  shown_ = settings;
  facts.language = settings.language == L"Korean" ? Language::korean : Language::english;
  const auto theme = std::ranges::find(kThemeNames, settings.theme);
  facts.theme = static_cast<ThemeChoice>(theme - kThemeNames.begin());
  for (const FlagRow& row : kFlags)
    facts.*row.fact = settings.*row.setting;
  for (const FieldRow& row : kFields)
    window.set_field_text(row.field, settings.*row.setting, 0);
  for (std::size_t i = 0; i < kPacketRows; ++i)
    window.set_field_text(packet_field(i), settings.send_items[i], 0);
  const std::vector<std::wstring> seconds(kTimeoutSeconds.begin(), kTimeoutSeconds.end());
  window.set_choices(ControlId::timeout, seconds, timeout_row(settings.connection_timeout_seconds), {});
  const std::vector<std::wstring> sizes(kBufferSizes.begin(), kBufferSizes.end());
  window.set_choices(ControlId::buffer_size, sizes,
                     static_cast<std::size_t>(settings.receive_buffer_size_mb) - 1, {});
  const std::vector<std::wstring> points(kFontSizes.begin(), kFontSizes.end());
  window.set_choices(ControlId::font_size, points, font_entry(settings.receive_font_size), {});
  for (const ChoiceRow& row : kChoices) {
    const std::wstring& saved = settings.*row.setting;
    window.set_choices(row.choice, entries(row, saved, facts.language), row_of(row, saved), {});
  }
}

void SettingsBinding::show_entries(MainWindow& window, Language language) const {
  for (const ChoiceRow& row : kChoices)
    window.set_choices(row.choice, entries(row, shown_.*row.setting, language),
                       window.selected_choice(row.choice), {});
}

void SettingsBinding::gather(const MainWindow& window, const Facts& facts, AppSettings& settings) const {
  settings.language = facts.language == Language::korean ? L"Korean" : L"English";
  settings.theme = kThemeNames[static_cast<std::size_t>(facts.theme)];
  for (const FlagRow& row : kFlags)
    settings.*row.setting = facts.*row.fact;
  for (const FieldRow& row : kFields)
    settings.*row.setting = window.field_text(row.field);
  for (std::size_t i = 0; i < kPacketRows; ++i)
    settings.send_items[i] = window.field_text(packet_field(i));
  if (const auto row = window.selected_choice(ControlId::timeout))
    settings.connection_timeout_seconds = std::stoi(std::wstring(kTimeoutSeconds[*row]));
  if (const auto row = window.selected_choice(ControlId::buffer_size))
    settings.receive_buffer_size_mb = static_cast<std::int32_t>(*row) + 1;
  if (const auto row = window.selected_choice(ControlId::font_size))
    settings.receive_font_size = font_points(*row);
  for (const ChoiceRow& row : kChoices)
    settings.*row.setting = chosen_text(window, row.choice);
}

std::wstring SettingsBinding::chosen_text(const MainWindow& window, ControlId id) const {
  const ChoiceRow& row = *std::ranges::find(kChoices, id, &ChoiceRow::choice);
  const std::size_t selected = window.selected_choice(id).value_or(row.stored.size());
  return selected < row.stored.size() ? std::wstring(row.stored[selected]) : shown_.*row.setting;
}

}  // namespace hvt
