#include "ui/win32/colored_text.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <stdexcept>
#include <string>

#include "ui/win32/look.h"

namespace hvt {
namespace {

RtfFont rtf_font(const CHARFORMAT2W& format) {
  const auto has = [&](DWORD effect) { return (format.dwEffects & effect) != 0; };
  return {format.szFaceName, format.yHeight,     has(CFE_BOLD),
          has(CFE_ITALIC),   has(CFE_UNDERLINE), has(CFE_STRIKEOUT)};
}

// A field counts when the mask of `wanted` names it.
bool differs(const PARAFORMAT2& wanted, const PARAFORMAT2& actual) {
  const auto changed = [&](DWORD mask, auto... members) {
    return (wanted.dwMask & mask) != 0 && ((wanted.*members != actual.*members) || ...);
  };
  const bool tabs_changed =
      (wanted.dwMask & PFM_TABSTOPS) != 0 &&
      !std::equal(wanted.rgxTabs, wanted.rgxTabs + std::clamp<int>(wanted.cTabCount, 0, MAX_TAB_STOPS),
                  actual.rgxTabs);
  // Each effect's bit is that of its mask, 16 places lower.
  const DWORD effects = (wanted.dwMask & PFM_EFFECTS) >> 16;
  return tabs_changed || ((wanted.wEffects ^ actual.wEffects) & effects) != 0 ||
         changed(PFM_TABSTOPS, &PARAFORMAT2::cTabCount) || changed(PFM_NUMBERING, &PARAFORMAT2::wNumbering) ||
         changed(PFM_NUMBERINGSTART, &PARAFORMAT2::wNumberingStart) ||
         changed(PFM_NUMBERINGSTYLE, &PARAFORMAT2::wNumberingStyle) ||
         changed(PFM_NUMBERINGTAB, &PARAFORMAT2::wNumberingTab) ||
         changed(PFM_STARTINDENT, &PARAFORMAT2::dxStartIndent) ||
         changed(PFM_RIGHTINDENT, &PARAFORMAT2::dxRightIndent) ||
         changed(PFM_OFFSET, &PARAFORMAT2::dxOffset) || changed(PFM_ALIGNMENT, &PARAFORMAT2::wAlignment) ||
         changed(PFM_SPACEBEFORE, &PARAFORMAT2::dySpaceBefore) ||
         changed(PFM_SPACEAFTER, &PARAFORMAT2::dySpaceAfter) ||
         changed(PFM_LINESPACING, &PARAFORMAT2::dyLineSpacing, &PARAFORMAT2::bLineSpacingRule) ||
         changed(PFM_SHADING, &PARAFORMAT2::wShadingWeight, &PARAFORMAT2::wShadingStyle) ||
         changed(PFM_BORDER, &PARAFORMAT2::wBorderSpace, &PARAFORMAT2::wBorderWidth, &PARAFORMAT2::wBorders);
}

void set_color(const RichEdit& edit, ColorRole role, const RoleColors& colors) {
  const auto index = static_cast<std::size_t>(role);
  CHARFORMAT2W format{};
  format.cbSize = sizeof format;
  format.dwMask = CFM_COLOR;
  format.crTextColor = color_ref(colors[index < colors.size() ? index : 0]);
  edit.set_character_format(format);
}

// The caret stands at the end, `begin`. False when not exactly the batch arrived; then nothing of it is left.
bool insert_as_rich_text(const RichEdit& edit, LONG begin, const DisplayBatch& batch,
                         const RoleColors& colors) {
  const CHARFORMAT2W font = edit.character_format();
  PARAFORMAT2 paragraph = edit.paragraph_format();
  paragraph.dwMask &= ~DWORD{PFM_OFFSETINDENT};  // would add the indent to the one that is there
  const bool streamed = edit.stream_in(rtf_of(batch, rtf_font(font), colors), RichEdit::Part::selection);
  const LONG end = edit.length();
  if (!streamed || end - begin != static_cast<LONG>(batch.characters())) {
    edit.select(begin, end);
    edit.replace_selection(L"");
    edit.select(begin, begin);
    edit.set_character_format(font);
    return false;
  }
  edit.select(end, end);
  if (differs(paragraph, edit.paragraph_format())) {
    edit.select(begin, end);
    edit.set_paragraph_format(paragraph);
  }
  return true;
}

// All of it in the first run's colour, then the runs that differ get theirs.
void insert_plainly(const RichEdit& edit, LONG begin, const DisplayBatch& batch, const RoleColors& colors) {
  const ColorRole inserted = (*batch.begin()).role;
  set_color(edit, inserted, colors);
  edit.replace_selection(batch.text().c_str());
  for (const DisplayRun run : batch) {
    const LONG end = begin + static_cast<LONG>(run.text.size());
    if (run.role != inserted) {
      edit.select(begin, end);
      set_color(edit, run.role, colors);
    }
    begin = end;
  }
}

}  // namespace

void append_colored(const RichEdit& edit, const DisplayBatch& batch, const RoleColors& colors) {
  if (batch.run_count() == 0) return;
  const LONG begin = edit.length();
  edit.select(begin, begin);
  if (batch.run_count() > 1 && insert_as_rich_text(edit, begin, batch, colors)) return;
  insert_plainly(edit, begin, batch, colors);
}

void recolor(const RichEdit& edit, const RoleColors& from, const RoleColors& to) {
  const LONG length = edit.length();
  if (from == to || length == 0) return;
  const std::optional<std::string> before = edit.stream_out();
  if (!before || before->empty())
    throw std::runtime_error("Could not read receive colors for the theme change.");
  const std::optional<std::string> after = recolored_rtf(*before, from, to);
  if (!after) throw std::runtime_error("Could not find the receive color table.");
  const bool done = edit.stream_in(*after, RichEdit::Part::all) && edit.length() == length;
  if (!done) edit.stream_in(*before, RichEdit::Part::all);
  edit.send(EM_EMPTYUNDOBUFFER);
  if (!done) throw std::runtime_error("Could not apply receive colors for the theme change.");
}

}  // namespace hvt
