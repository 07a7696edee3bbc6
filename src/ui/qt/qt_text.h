#pragma once

#include <QString>
#include <string>
#include <string_view>

namespace hvt {

// The toolkit's text and the program's: both UTF-16, one unit each way, nothing checked or changed.
QString to_qstring(std::wstring_view text);
std::wstring from_qstring(const QString& text);

}  // namespace hvt
