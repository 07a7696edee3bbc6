#include "settings/temporary_name.h"

#include <algorithm>
#include <atomic>
#include <charconv>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

namespace hvt {
namespace {

using PathString = std::filesystem::path::string_type;

constexpr std::string_view kMark = ".tmp.";

std::atomic<std::uint32_t> last_number{0};

struct TemporaryName {
  std::uint32_t process_id = 0;
  std::uint32_t number = 0;
};

// Takes a decimal number from the front of the text.
std::optional<std::uint32_t> take_number(std::string_view& text) {
  std::uint32_t value = 0;
  const auto [stopped, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc()) return std::nullopt;
  text.remove_prefix(static_cast<std::size_t>(stopped - text.data()));
  return value;
}

// The numbers in a name that next_temporary_name() makes of the target's.
std::optional<TemporaryName> parse_temporary_name(const PathString& name, const PathString& target_name) {
  if (!name.starts_with(target_name)) return std::nullopt;
  std::string tail;
  for (const auto unit : name.substr(target_name.size())) {
    if (static_cast<std::uint32_t>(unit) > 0x7F) return std::nullopt;
    tail += static_cast<char>(unit);
  }
  std::string_view rest = tail;
  if (!rest.starts_with(kMark)) return std::nullopt;
  rest.remove_prefix(kMark.size());
  const auto process_id = take_number(rest);
  if (!process_id || !rest.starts_with('.')) return std::nullopt;
  rest.remove_prefix(1);
  const auto number = take_number(rest);
  if (!number || !rest.empty()) return std::nullopt;
  return TemporaryName{*process_id, *number};
}

bool is_abandoned(const TemporaryName& name) {
  // A number that this process has not reached is from an earlier process that had the same identifier.
  if (name.process_id == current_process_id()) return name.number > last_number;
  return process_is_gone(name.process_id);
}

}  // namespace

std::filesystem::path next_temporary_name(const std::filesystem::path& target) {
  std::filesystem::path temporary = target;
  temporary += kMark;
  temporary += std::to_string(current_process_id()) + "." + std::to_string(++last_number);
  return temporary;
}

void remove_abandoned_temporaries(const std::filesystem::path& target) {
  const std::filesystem::path folder = target.has_parent_path() ? target.parent_path() : ".";
  const PathString target_name = target.filename().native();
  std::error_code error;
  std::filesystem::directory_iterator entry(folder, error);
  for (const std::filesystem::directory_iterator end; !error && entry != end; entry.increment(error)) {
    const auto name = parse_temporary_name(entry->path().filename().native(), target_name);
    if (!name || !is_abandoned(*name)) continue;
    std::error_code ignored;
    std::filesystem::remove(entry->path(), ignored);
  }
}

}  // namespace hvt
