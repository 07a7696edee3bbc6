#pragma once

#include "display/display_batch.h"
#include "display/rtf.h"
#include "ui/win32/rich_edit.h"

namespace hvt {

// Coloured text in a rich edit control that is filled by the program alone. The selection is left anywhere.

// Adds text at the end of the document in the font and paragraph format that are there. Line breaks of
// `batch` are paragraph marks (with_paragraph_marks()).
void append_colored(const RichEdit& edit, const DisplayBatch& batch, const RoleColors& colors);

// Gives all text that has a role's colour of `from` that of `to`, everything else stays.
// Throws std::runtime_error with the reason; the document is then as it was.
void recolor(const RichEdit& edit, const RoleColors& from, const RoleColors& to);

}  // namespace hvt
