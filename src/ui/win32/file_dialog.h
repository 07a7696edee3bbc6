#pragma once

#include <windows.h>

#include <filesystem>
#include <optional>

#include "ui/main_window.h"

namespace hvt {

// The system's open or save dialog, modal over `owner`. Nothing when it was cancelled.
// Throws std::runtime_error "Could not open the file dialog.".
std::optional<std::filesystem::path> show_send_data_file_dialog(HWND owner, const FileQuestion& question);

}  // namespace hvt
