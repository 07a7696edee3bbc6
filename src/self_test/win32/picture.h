#pragma once

#include <windows.h>

#include <filesystem>
#include <span>

namespace hvt::self_test {

// Saves what the windows show as one PNG, as large as the first of them, the others in front of it where they
// stand. Any thread of their desktop. False when it could not be made.
bool save_picture(std::span<const HWND> windows, const std::filesystem::path& file);

}  // namespace hvt::self_test
