#pragma once

#include <span>
#include <string>

#include "ui/dialogs.h"
#include "ui/win32/look.h"

namespace hvt {

// The lines of a dialog as one rich text document: headings bold, code in the fixed-width font on a quiet
// surface.
std::string dialog_rtf(std::span<const DialogLine> lines, const Look& look);

}  // namespace hvt
