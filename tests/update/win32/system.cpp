#include "tests/update/system.h"

#include <windows.h>

#include <wincrypt.h>
#include <winhttp.h>

#include <array>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

#include "base/win32/wine.h"

namespace hvt::test {
namespace {

const char* const kAnyFailure = "Update request failed (Windows error ";

std::string failure(DWORD error) {
  return kAnyFailure + std::to_string(error) + ").";
}

}  // namespace

SystemFailures system_failures() {
  return {
      .scheme = failure(ERROR_WINHTTP_UNRECOGNIZED_SCHEME),
      .nobody = failure(ERROR_WINHTTP_CANNOT_CONNECT),
      .certificate = kAnyFailure,  // Wine names the kind
      .redirects = failure(ERROR_WINHTTP_REDIRECT_FAILED),
      .downgrade = failure(ERROR_WINHTTP_REDIRECT_FAILED),
      .cut = failure(ERROR_WINHTTP_CONNECTION_ERROR),
      .reset = kAnyFailure,  // Wine passes on the socket's own error at times
      .no_answer = kAnyFailure,
      .no_http = failure(ERROR_WINHTTP_INVALID_SERVER_RESPONSE),
  };
}

std::vector<Answer> system_answers() {
  return {};
}

namespace {

std::vector<BYTE> read_certificate() {
  std::ifstream file(std::getenv("HVT_AUTHORITY"), std::ios::binary);
  const std::string pem{std::istreambuf_iterator<char>(file), {}};
  std::vector<BYTE> bytes(pem.size());
  DWORD size = static_cast<DWORD>(bytes.size());
  if (!CryptStringToBinaryA(pem.data(), static_cast<DWORD>(pem.size()), CRYPT_STRING_BASE64HEADER,
                            bytes.data(), &size, nullptr, nullptr))
    throw std::runtime_error("The authority's file is not readable.");
  bytes.resize(size);
  return bytes;
}

// Where the user's store keeps a certificate: under the number that names it.
std::wstring registry_key(PCCERT_CONTEXT certificate) {
  std::array<BYTE, 20> hash{};
  DWORD size = static_cast<DWORD>(hash.size());
  CertGetCertificateContextProperty(certificate, CERT_SHA1_HASH_PROP_ID, hash.data(), &size);
  std::wstring key = L"Software\\Microsoft\\SystemCertificates\\Root\\Certificates\\";
  for (const BYTE byte : hash) {
    key += L"0123456789ABCDEF"[byte >> 4];
    key += L"0123456789ABCDEF"[byte & 15];
  }
  return key;
}

}  // namespace

// WinHTTP trusts what the system trusts, so the authority becomes a part of that for a while. Windows would
// ask a person before it changes the user's store, but lets an administrator change the machine's; in Wine
// both belong to the prefix.
TrustedAuthority::TrustedAuthority() {
  const std::vector<BYTE> bytes = read_certificate();
  const DWORD place = runs_on_wine() ? CERT_SYSTEM_STORE_CURRENT_USER : CERT_SYSTEM_STORE_LOCAL_MACHINE;
  const HCERTSTORE store = CertOpenStore(CERT_STORE_PROV_SYSTEM_W, 0, 0, place, L"Root");
  PCCERT_CONTEXT certificate = nullptr;
  const bool added = store != nullptr &&
                     CertAddEncodedCertificateToStore(store, X509_ASN_ENCODING, bytes.data(),
                                                      static_cast<DWORD>(bytes.size()),
                                                      CERT_STORE_ADD_REPLACE_EXISTING, &certificate) &&
                     CertControlStore(store, 0, CERT_STORE_CTRL_COMMIT, nullptr);
  if (!added) throw std::runtime_error("The test's authority cannot be trusted: no administrator?");
  remove_ = [store, certificate, key = registry_key(certificate)] {
    CertDeleteCertificateFromStore(certificate);
    CertCloseStore(store, 0);
    // Wine forgets to delete it where it is kept.
    if (runs_on_wine()) RegDeleteKeyW(HKEY_CURRENT_USER, key.c_str());
  };
}

TrustedAuthority::~TrustedAuthority() {
  remove_();
}

ManifestSource TrustedAuthority::source_of(const std::wstring& location) const {
  ManifestSource source;
  source.location = location;
  source.plain_loopback = true;
  return source;
}

std::size_t open_handles() {
  DWORD count = 0;
  GetProcessHandleCount(GetCurrentProcess(), &count);
  return count;
}

}  // namespace hvt::test
