#pragma once

namespace hvt {

// Assistive tools see the receive view as text, and drop-down lists by their names: the toolkit would call a
// list by its present entry. Once per program, before a tool asks; costs nothing until one does.
void install_accessible_controls();

}  // namespace hvt
