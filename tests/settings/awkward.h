#pragma once

#include <random>
#include <string>

#include "settings/app_settings.h"

namespace hvt::test {

// A text of up to 40 characters that are easily spoilt on the way to a file and back: quotes, backslashes,
// what looks like an escape, control characters, the first and last of every UTF-8 length, pairs.
std::wstring awkward_text(std::mt19937& random);

// A record in which every field has a value that a file may hold, many of them awkward.
AppSettings awkward_settings(std::mt19937& random);

}  // namespace hvt::test
