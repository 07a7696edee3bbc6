#pragma once

#include <QString>
#include <string>
#include <string_view>

namespace hvt {

// The toolkit's text and the program's: both UTF-16, one unit each way, nothing checked or changed.
QString to_qstring(std::wstring_view text);
std::wstring from_qstring(const QString& text);

// As a caption that shows "&" as it is, not as the mark of a shortcut letter.
QString literal_qstring(std::wstring_view caption);

}  // namespace hvt
