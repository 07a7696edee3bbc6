#pragma once

#include <windows.h>

#include <filesystem>
#include <span>

namespace hvt::self_test {

// Saves what the windows show as one PNG, each where it stands, the first one rearmost. Any thread of their
// desktop but that of the windows. False when it could not be made.
bool save_picture(std::span<const HWND> windows, const std::filesystem::path& file);

}  // namespace hvt::self_test
