#pragma once

#include <cstdint>

namespace hvt::bench {

// Calls of operator new in this program so far, on all threads.
std::uint64_t allocations();

}  // namespace hvt::bench
