#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>

#include "display/display_batch.h"
#include "display/palette.h"

namespace hvt {

// Rich text (RTF) as a rich edit control takes it in and gives it out. Bytes in, bytes out; nothing here
// knows the control.

// The colours of all roles; index = role.
using RoleColors = std::array<Rgb, kColorRoleCount>;
RoleColors role_colors(Appearance appearance, Rgb system_gray_text);

// The character format that a whole batch is written in.
struct RtfFont {
  std::wstring face;
  long height_twips = 0;  // negative is kept
  bool bold = false;
  bool italic = false;
  bool underline = false;
  bool strikeout = false;
};

// The batch with every line break as the control keeps it: CR LF and a lone LF are one CR, also where CR and
// LF stand in different runs (the CR's role counts).
DisplayBatch with_paragraph_marks(const DisplayBatch& batch);

// One document of the batch's text in its roles' colours: colour number = role + 1, after the automatic one.
std::string rtf_of(const DisplayBatch& batch, const RtfFont& font, const RoleColors& colors);

// Appends text as it stands inside a document; each line break is a paragraph mark.
void append_rtf(std::string& rtf, std::wstring_view text);
// An entry of a document's colour table.
std::string rtf_color(Rgb color);

// A document in which each colour table entry of `from` is the same role's of `to`; where roles share a
// colour of `from`, the first one decides. Other entries stay. Empty when there is no colour table.
std::optional<std::string> recolored_rtf(std::string_view rtf, const RoleColors& from, const RoleColors& to);

}  // namespace hvt
