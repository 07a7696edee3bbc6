#pragma once

#include <vector>

#include "ui/dialogs.h"
#include "ui/texts.h"

namespace hvt {

// The help of the program, for a person who has a device on the line.
std::vector<DialogLine> usage_lines(Language language);

}  // namespace hvt
