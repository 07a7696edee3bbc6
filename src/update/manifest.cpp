#include "update/manifest.h"

#include <optional>
#include <stdexcept>

#include "base/text.h"
#include "settings/json.h"

namespace hvt {
namespace {

Version latest_version(const JsonValue& manifest) {
  const JsonValue* const member = find_member(manifest, "latestVersion");
  std::optional<Version> version;
  if (member != nullptr && member->kind == JsonKind::kString) version = parse_version(member->text);
  if (!version) throw std::runtime_error("Invalid latestVersion.");
  return *version;
}

std::wstring release_date(const JsonValue& manifest) {
  const JsonValue* const member = find_member(manifest, "releaseDate");
  if (member == nullptr) return {};
  if (member->kind != JsonKind::kString) throw std::runtime_error("Invalid releaseDate.");
  return utf8_to_utf16(member->text);
}

}  // namespace

UpdateResult parse_update_manifest(std::string_view bytes) {
  const JsonValue manifest = parse_json_document(bytes);
  if (manifest.kind != JsonKind::kObject) throw std::runtime_error("Expected a JSON object.");
  UpdateResult result;
  result.latest = latest_version(manifest);
  result.release_date = release_date(manifest);
  result.succeeded = true;
  return result;
}

}  // namespace hvt
