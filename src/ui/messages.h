#pragma once

#include <string>
#include <string_view>

#include "ui/texts.h"

namespace hvt {

// The Korean form of an English message from the layers below, also of those with a field, a port or replaced
// settings inside; any other message (the system's own texts) is given back as is.
std::wstring localized_message(std::wstring_view english, Language language);

// `notice` is a sentence of the transport about an opened device; empty for none.
std::wstring connected_to_text(std::wstring_view port, std::wstring_view notice, Language language);

}  // namespace hvt
