#pragma once

#include <concepts>
#include <functional>
#include <string>
#include <utility>

#include "ui/messages.h"
#include "ui/texts.h"

namespace hvt {

// What the status line says, in whichever language the window has by then. A default one says nothing.
class StatusText {
 public:
  StatusText() = default;
  StatusText(TextId id) : text_([id](Language language) { return std::wstring(text(id, language)); }) {}
  // A message of the layers below.
  StatusText(std::wstring english)
      : text_([english = std::move(english)](Language language) {
          return localized_message(english, language);
        }) {}
  template <std::invocable<Language> Function>
  StatusText(Function function) : text_(std::move(function)) {}

  bool empty() const { return !text_; }
  std::wstring in(Language language) const { return text_ ? text_(language) : std::wstring(); }

 private:
  std::function<std::wstring(Language)> text_;
};

}  // namespace hvt
