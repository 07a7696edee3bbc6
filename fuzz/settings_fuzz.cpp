// The settings reader on any bytes: what it accepts can be saved, and loads again as the same record.

#include "fuzz/target.h"
#include "settings/app_settings.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace hvt;
  const auto loaded = fuzz::accepted(parse_settings, fuzz::text_of(data, size));
  if (!loaded) return 0;
  const AppSettings& settings = loaded->settings;
  fuzz::require(parse_settings(serialize_settings(settings)).settings == settings);
  fuzz::require(settings.receive_font_size >= 8 && settings.receive_font_size <= 24);
  fuzz::require(settings.receive_buffer_size_mb >= 1 && settings.receive_buffer_size_mb <= 4);
  if (loaded->has_saved_window_size) fuzz::require(settings.window_width > 0 && settings.window_height > 0);
  return 0;
}
