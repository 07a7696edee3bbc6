#include "app/dialog_contents.h"

#include "base/text.h"
#include "ui/usage.h"

namespace hvt {
namespace {

using Kind = DialogLine::Kind;

constexpr std::wstring_view kUnknown = L"\x2014";  // an em dash

DialogLine words(Kind kind, TextId id, Language language) {
  return {kind, std::wstring(text(id, language))};
}

DialogLine fact(TextId pattern, std::wstring_view value, Language language) {
  return {Kind::text, filled_text(pattern, value.empty() ? kUnknown : value, language)};
}

constexpr TextId outcome_text(UpdateOutcome outcome) {
  switch (outcome) {
    case UpdateOutcome::checking: break;
    case UpdateOutcome::newer: return TextId::update_newer;
    case UpdateOutcome::latest: return TextId::update_latest;
    case UpdateOutcome::ahead: return TextId::update_ahead;
    case UpdateOutcome::failed: return TextId::update_failed;
  }
  return TextId::checking_updates;
}

DialogContent dialog(TextId title, std::vector<DialogLine> lines, TextId link, Language language) {
  return {std::wstring(text(title, language)), std::move(lines), std::wstring(text(link, language)),
          std::wstring(text(TextId::close, language))};
}

}  // namespace

DialogContent usage_dialog(Language language) {
  return dialog(TextId::usage, usage_lines(language), TextId::none, language);
}

DialogContent about_dialog(const std::filesystem::path& data_folder, Language language) {
  return dialog(TextId::about,
                {{Kind::heading, std::wstring(kProductName)},
                 fact(TextId::version, version_text(program_version()), language),
                 words(Kind::text, TextId::about_program, language),
                 fact(TextId::data_folder, path_text(data_folder), language)},
                TextId::homepage, language);
}

DialogContent update_dialog(const UpdateStatus& status, Language language) {
  const bool newer = status.outcome == UpdateOutcome::newer;
  return dialog(TextId::check_updates,
                {words(Kind::heading, outcome_text(status.outcome), language),
                 fact(TextId::current_version, version_text(program_version()), language),
                 fact(TextId::latest_version, status.latest_version, language),
                 fact(TextId::release_date, status.release_date, language)},
                newer ? TextId::download_page : TextId::none, language);
}

}  // namespace hvt
