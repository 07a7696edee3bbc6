#pragma once

#include <string>

#include "update/cancel_signal.h"
#include "update/manifest_source.h"

namespace hvt {

// The bytes of the manifest, fetched once over HTTPS: 10 s in all, at most 5 redirects, never from HTTPS to
// HTTP, at most 64 KiB. Blocks until then or until `cancel`, which it follows within milliseconds. Any thread
// but the interface thread.
//
// Throws std::runtime_error:
//   "Update request timed out."
//   "Update server returned HTTP 404"                any status outside 200 to 299
//   "Update manifest exceeds 64 KiB."
//   "Update request failed (Windows error 12157)."   elsewhere "(curl error 60)": everything else
//   "Update request cancelled."
std::string fetch_update_manifest(const ManifestSource& source, CancelSignal& cancel);

// The same from manifest_source().
inline std::string fetch_published_manifest(CancelSignal& cancel) {
  return fetch_update_manifest(manifest_source(), cancel);
}

}  // namespace hvt
