// The preset reader on any bytes: what it accepts can be saved, and loads again as the same ten texts.

#include "fuzz/target.h"
#include "settings/send_preset.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace hvt;
  const auto items = fuzz::accepted(parse_send_preset, fuzz::text_of(data, size));
  if (items) fuzz::require(parse_send_preset(serialize_send_preset(*items)) == *items);
  return 0;
}
