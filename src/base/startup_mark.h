#pragma once

#include <functional>
#include <string_view>

namespace hvt {

// Told the name of a step of the start-up when the step is done, on the interface thread, for the start-up
// profile. Never empty.
using StartupMark = std::function<void(std::string_view step)>;

// For windows that nobody times.
inline void ignore_mark(std::string_view) {}

}  // namespace hvt
