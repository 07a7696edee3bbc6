#pragma once

#include <filesystem>

#include "ui/dialogs.h"
#include "ui/texts.h"
#include "update/update_status.h"

namespace hvt {

// What the program's dialogs say. Pure.
DialogContent usage_dialog(Language language);
DialogContent about_dialog(const std::filesystem::path& data_folder, Language language);
DialogContent update_dialog(const UpdateStatus& status, Language language);

}  // namespace hvt
