#include "ui/win32/rich_edit.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <new>

namespace hvt {
namespace {

constexpr UINT kUtf16CodePage = 1200;
constexpr DWORD kStreamFailed = 1;  // any value but zero ends a stream

template <typename Structure>
LPARAM pointer_to(Structure& structure) {
  return reinterpret_cast<LPARAM>(&structure);
}

// Hands the control as much as it asks for.
DWORD CALLBACK feed(DWORD_PTR source, LPBYTE target, LONG wanted, LONG* given) {
  auto& rest = *reinterpret_cast<std::string_view*>(source);
  const std::size_t size = std::min(rest.size(), static_cast<std::size_t>(std::max<LONG>(wanted, 0)));
  std::memcpy(target, rest.data(), size);
  rest.remove_prefix(size);
  *given = static_cast<LONG>(size);
  return 0;
}

DWORD CALLBACK collect(DWORD_PTR target, LPBYTE bytes, LONG offered, LONG* taken) {
  const auto size = static_cast<std::size_t>(std::max<LONG>(offered, 0));
  try {
    reinterpret_cast<std::string*>(target)->append(reinterpret_cast<const char*>(bytes), size);
  } catch (const std::bad_alloc&) {  // the control must not see it
    return kStreamFailed;
  }
  *taken = offered;
  return 0;
}

}  // namespace

LRESULT RichEdit::send(UINT message, WPARAM first, LPARAM second) const {
  return window_ == nullptr ? 0 : SendMessageW(window_, message, first, second);
}

LONG RichEdit::length() const {
  GETTEXTLENGTHEX request{GTL_PRECISE | GTL_NUMCHARS, kUtf16CodePage};
  return static_cast<LONG>(send(EM_GETTEXTLENGTHEX, reinterpret_cast<WPARAM>(&request)));
}

std::wstring RichEdit::text(LONG begin, LONG count) const {
  std::wstring result(static_cast<std::size_t>(count) + 1, L'\0');
  TEXTRANGEW range{{begin, begin + count}, result.data()};
  result.resize(static_cast<std::size_t>(send(EM_GETTEXTRANGE, 0, pointer_to(range))));
  return result;
}

CHARRANGE RichEdit::selection() const {
  CHARRANGE range{};
  send(EM_EXGETSEL, 0, pointer_to(range));
  return range;
}

void RichEdit::select(LONG begin, LONG end) const {
  CHARRANGE range{begin, end};
  send(EM_EXSETSEL, 0, pointer_to(range));
}

void RichEdit::replace_selection(const wchar_t* text) const {
  send(EM_REPLACESEL, FALSE, reinterpret_cast<LPARAM>(text));
}

CHARFORMAT2W RichEdit::character_format() const {
  CHARFORMAT2W format{};
  format.cbSize = sizeof format;
  send(EM_GETCHARFORMAT, SCF_SELECTION, pointer_to(format));
  return format;
}

void RichEdit::set_character_format(const CHARFORMAT2W& format) const {
  send(EM_SETCHARFORMAT, SCF_SELECTION, pointer_to(format));
}

PARAFORMAT2 RichEdit::paragraph_format() const {
  PARAFORMAT2 format{};
  format.cbSize = sizeof format;
  send(EM_GETPARAFORMAT, 0, pointer_to(format));
  return format;
}

void RichEdit::set_paragraph_format(const PARAFORMAT2& format) const {
  send(EM_SETPARAFORMAT, 0, pointer_to(format));
}

POINT RichEdit::scroll_position() const {
  POINT position{};
  send(EM_GETSCROLLPOS, 0, pointer_to(position));
  return position;
}

void RichEdit::set_scroll_position(POINT position) const {
  send(EM_SETSCROLLPOS, 0, pointer_to(position));
}

POINTL RichEdit::position_of(LONG character) const {
  POINTL position{};
  send(EM_POSFROMCHAR, reinterpret_cast<WPARAM>(&position), character);
  return position;
}

bool RichEdit::stream_in(std::string_view rtf, Part replaced) const {
  EDITSTREAM stream{reinterpret_cast<DWORD_PTR>(&rtf), 0, feed};
  send(EM_STREAMIN, SF_RTF | static_cast<WPARAM>(replaced), pointer_to(stream));
  return window_ != nullptr && stream.dwError == 0;
}

std::optional<std::string> RichEdit::stream_out() const {
  std::string rtf;
  EDITSTREAM stream{reinterpret_cast<DWORD_PTR>(&rtf), 0, collect};
  send(EM_STREAMOUT, SF_RTF, pointer_to(stream));
  if (window_ == nullptr || stream.dwError != 0) return {};
  return rtf;
}

}  // namespace hvt
