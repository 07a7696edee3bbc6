#pragma once

#include <string_view>

#include "ui/controls.h"
#include "ui/texts.h"

namespace hvt {

// What is shown when the pointer rests on a control, and read out; empty for none. Names the control's access
// key.
std::wstring_view tip(ControlId id, Language language);

}  // namespace hvt
