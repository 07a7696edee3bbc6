#pragma once

#include <array>
#include <string>

#include "settings/json.h"

namespace hvt {

// The texts of the ten send rows, as typed.
inline constexpr std::size_t kSendItemCount = 10;
using SendItems = std::array<std::wstring, kSendItemCount>;

// The items as the value of a member whose line is indented by two spaces, without a line feed at its end.
// Throws "Invalid Unicode text." for an unpaired surrogate.
std::string write_send_items_array(const SendItems& items);

// What is missing is empty, and so is a null; elements behind the tenth count for nothing but their kind.
// Throws "Expected an array of send strings." and "Expected a send string." (an element that is neither a
// string nor null, wherever it stands).
SendItems read_send_items_array(const JsonValue& value);

}  // namespace hvt
