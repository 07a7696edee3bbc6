// The manifest reader on any bytes: what it accepts is a version that reads back as itself and a date that
// can be shown.

#include "base/text.h"
#include "fuzz/target.h"
#include "update/manifest.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace hvt;
  const auto result = fuzz::accepted(parse_update_manifest, fuzz::text_of(data, size));
  if (!result) return 0;
  fuzz::require(result->succeeded && result->failure.empty());
  for (const std::int32_t component : result->latest.components)
    fuzz::require(component >= 0);
  fuzz::require(parse_version(utf16_to_utf8(version_text(result->latest))) == result->latest);
  fuzz::require(utf8_to_utf16(utf16_to_utf8(result->release_date)) == result->release_date);
  return 0;
}
