#include "ui/qt/qt_text.h"

#include <algorithm>

namespace hvt {

// QString::fromWCharArray would read 32-bit units as whole characters and spoil surrogate pairs.
QString to_qstring(std::wstring_view text) {
  QString result(static_cast<qsizetype>(text.size()), Qt::Uninitialized);
  std::transform(text.begin(), text.end(), result.begin(),
                 [](wchar_t unit) { return QChar(static_cast<char16_t>(unit)); });
  return result;
}

std::wstring from_qstring(const QString& text) {
  std::wstring result(static_cast<std::size_t>(text.size()), L'\0');
  std::transform(text.begin(), text.end(), result.begin(),
                 [](QChar unit) { return static_cast<wchar_t>(unit.unicode()); });
  return result;
}

QString literal_qstring(std::wstring_view caption) {
  return to_qstring(caption).replace(QLatin1Char('&'), QLatin1StringView("&&"));
}

}  // namespace hvt
