#include "update/manifest_source.h"

namespace hvt {

ManifestSource manifest_source() {
  ManifestSource source;
  source.location = HVT_UPDATE_MANIFEST_URL;
  return source;
}

}  // namespace hvt
