#pragma once

#include <QTranslator>

#include "ui/texts.h"

namespace hvt {

// What the toolkit itself says (its file dialog, its buttons, the menus of fields and scroll bars) in the
// language of the program.
//
// Promises  English before the first call. Where the desktop has the toolkit's catalogue, that goes first.
// Threads   the interface thread.
// Owns      the translations in use.
// Ends      with the object: the toolkit is as before.
class ToolkitTexts {
 public:
  void set_language(Language language);

 private:
  // A small table of what a person meets in this program.
  class KoreanTable final : public QTranslator {
   public:
    bool isEmpty() const override { return false; }
    QString translate(const char* context, const char* english, const char* note, int number) const override;
  };

  Language language_ = Language::english;
  KoreanTable korean_;
  QTranslator catalogue_;
};

}  // namespace hvt
