#pragma once

#include <chrono>
#include <cstdint>
#include <optional>

namespace hvt {

// What this process knows about itself.

std::uint32_t process_id();

// Since the system started, its sleep included.
std::chrono::milliseconds system_uptime();

// How long ago the process was created; nothing when the system does not tell. As exact as the system keeps
// it: 10 ms on Linux.
std::optional<std::chrono::duration<double, std::milli>> process_age();

// HALVETRIC_STARTUP_PROFILE is in the environment, whatever its value.
bool startup_profile_wanted();

}  // namespace hvt
