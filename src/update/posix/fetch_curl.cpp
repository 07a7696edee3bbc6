#include <curl/curl.h>

#include <chrono>
#include <memory>
#include <string>

#include "base/text.h"
#include "update/fetch.h"
#include "update/fetch_rules.h"

namespace hvt {
namespace {

using Clock = std::chrono::steady_clock;

// As WinHTTP has it, here for all answers of a chain of redirects together.
constexpr std::size_t kHeaderLimit = 65536;

template <auto kRelease>
struct Deleter {
  template <typename T>
  void operator()(T* handle) const {
    kRelease(handle);
  }
};
using Easy = std::unique_ptr<CURL, Deleter<curl_easy_cleanup>>;
using Multi = std::unique_ptr<CURLM, Deleter<curl_multi_cleanup>>;
using Url = std::unique_ptr<CURLU, Deleter<curl_url_cleanup>>;
using List = std::unique_ptr<curl_slist, Deleter<curl_slist_free_all>>;
using Text = std::unique_ptr<char, Deleter<curl_free>>;

std::runtime_error failed_with(int code) {
  return request_failed("curl error " + std::to_string(code));
}

template <typename Handle>
Handle made(typename Handle::pointer handle) {
  if (handle == nullptr) throw failed_with(CURLE_OUT_OF_MEMORY);
  return Handle(handle);
}

std::string part_of(CURLU* location, CURLUPart part) {
  char* text = nullptr;
  if (curl_url_get(location, part, &text, 0) != CURLUE_OK) throw failed_with(CURLE_URL_MALFORMAT);
  return Text(text).get();
}

// The scheme of a location that may be fetched.
std::string checked_scheme(const std::string& location, const ManifestSource& source) {
  const auto parsed = made<Url>(curl_url());
  if (curl_url_set(parsed.get(), CURLUPART_URL, location.c_str(), 0) != CURLUE_OK)
    throw failed_with(CURLE_URL_MALFORMAT);
  const std::string scheme = part_of(parsed.get(), CURLUPART_SCHEME);
  if (!may_fetch(scheme, part_of(parsed.get(), CURLUPART_HOST), source))
    throw failed_with(CURLE_UNSUPPORTED_PROTOCOL);
  return scheme;
}

// One request with its redirects.
//
// Promises  no more than kManifestLimit bytes are kept, and an answer that is no success ends the request at
//           its headers, whatever body follows.
// Threads   one, the fetching one.
// Owns      the library's handles.
// Ends      with the destructor, which waits for nothing, a slow name server included.
class Request {
 public:
  Request(const std::string& location, const ManifestSource& source);
  ~Request() { curl_multi_remove_handle(multi_.get(), easy_.get()); }
  Request(const Request&) = delete;
  Request& operator=(const Request&) = delete;

  std::string run(CancelSignal& cancel);

 private:
  void apply_rules(const std::string& scheme);
  CURLcode transfer(CancelSignal& cancel);
  CURLcode result() const;
  void throw_failure(CURLcode code);
  long status() const;
  bool is_followed(long status) const;

  static std::size_t take_header(char* bytes, std::size_t size, std::size_t count, void* self);
  static std::size_t take_body(char* bytes, std::size_t size, std::size_t count, void* self);

  template <typename Value>
  void set(CURLoption option, Value value) {
    const CURLcode code = curl_easy_setopt(easy_.get(), option, value);
    if (code != CURLE_OK) throw failed_with(code);
  }

  List headers_ = made<List>(curl_slist_append(nullptr, "Cache-Control: no-cache"));
  Multi multi_ = made<Multi>(curl_multi_init());
  Easy easy_ = made<Easy>(curl_easy_init());
  std::size_t header_bytes_ = 0;
  std::string body_;
  bool too_long_ = false;
};

Request::Request(const std::string& location, const ManifestSource& source) {
  const std::string scheme = checked_scheme(location, source);
  set(CURLOPT_URL, location.c_str());
  apply_rules(scheme);
  if (!source.test_authority.empty()) set(CURLOPT_CAINFO, source.test_authority.c_str());
  const CURLMcode code = curl_multi_add_handle(multi_.get(), easy_.get());
  if (code != CURLM_OK) throw failed_with(code);
}

void Request::apply_rules(const std::string& scheme) {
  const char* const allowed = scheme == "https" ? "https" : "http,https";
  set(CURLOPT_PROTOCOLS_STR, allowed);
  set(CURLOPT_REDIR_PROTOCOLS_STR, allowed);
  // What the tests show is what is used: another protocol version would be another program to trust.
  set(CURLOPT_HTTP_VERSION, long{CURL_HTTP_VERSION_1_1});
  set(CURLOPT_FOLLOWLOCATION, 1L);
  set(CURLOPT_MAXREDIRS, kMostRedirects);
  set(CURLOPT_USERAGENT, user_agent().c_str());
  set(CURLOPT_HTTPHEADER, headers_.get());
  set(CURLOPT_NOSIGNAL, 1L);
  // A name server that does not answer is left behind, not waited for.
  set(CURLOPT_QUICK_EXIT, 1L);
  set(CURLOPT_HEADERFUNCTION, &Request::take_header);
  set(CURLOPT_HEADERDATA, this);
  set(CURLOPT_WRITEFUNCTION, &Request::take_body);
  set(CURLOPT_WRITEDATA, this);
}

std::string Request::run(CancelSignal& cancel) {
  const CURLcode code = transfer(cancel);
  if (code != CURLE_OK) throw_failure(code);
  if (!is_success(status())) throw refused_with(status());
  return std::move(body_);
}

CURLcode Request::transfer(CancelSignal& cancel) {
  const CancelSignal::Wake wake(cancel, [multi = multi_.get()] { curl_multi_wakeup(multi); });
  // The library's own time limit begins anew with each redirect.
  const auto deadline = Clock::now() + kFetchTimeout;
  int running = 1;
  while (true) {
    if (cancel.cancelled()) throw cancelled();
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
    if (left <= left.zero()) throw timed_out();
    CURLMcode code = curl_multi_perform(multi_.get(), &running);
    if (code == CURLM_OK && running == 0) return result();
    // Shorter where the library has something to do by itself.
    if (code == CURLM_OK)
      code = curl_multi_poll(multi_.get(), nullptr, 0, static_cast<int>(left.count()), nullptr);
    if (code != CURLM_OK) throw failed_with(code);
  }
}

CURLcode Request::result() const {
  int left = 0;
  const CURLMsg* const ended = curl_multi_info_read(multi_.get(), &left);
  return ended != nullptr ? ended->data.result : CURLE_RECV_ERROR;
}

void Request::throw_failure(CURLcode code) {
  if (code == CURLE_OPERATION_TIMEDOUT) throw timed_out();  // the system's connect was quicker to give up
  if (too_long_) throw manifest_too_long();
  // Ended by take_header().
  if (code == CURLE_WRITE_ERROR && status() >= 200 && !is_success(status())) throw refused_with(status());
  throw failed_with(code);
}

long Request::status() const {
  long status = 0;
  curl_easy_getinfo(easy_.get(), CURLINFO_RESPONSE_CODE, &status);
  return status;
}

bool Request::is_followed(long status) const {
  const bool is_redirect = (status >= 301 && status <= 303) || status == 307 || status == 308;
  curl_header* location = nullptr;
  return is_redirect &&
         curl_easy_header(easy_.get(), "Location", 0, CURLH_HEADER, -1, &location) == CURLHE_OK;
}

std::size_t Request::take_header(char* bytes, std::size_t size, std::size_t count, void* self) {
  auto& request = *static_cast<Request*>(self);
  // The library keeps them all.
  request.header_bytes_ += size * count;
  if (request.header_bytes_ > kHeaderLimit) return 0;
  const bool is_end = std::string_view(bytes, size * count) == "\r\n";
  const long status = request.status();
  const bool goes_on = status < 200 || is_success(status) || request.is_followed(status);
  return is_end && !goes_on ? 0 : size * count;
}

std::size_t Request::take_body(char* bytes, std::size_t size, std::size_t count, void* self) {
  auto& request = *static_cast<Request*>(self);
  request.too_long_ = request.body_.size() + size * count > kManifestLimit;
  if (request.too_long_) return 0;
  request.body_.append(bytes, size * count);
  return size * count;
}

}  // namespace

std::string fetch_update_manifest(const ManifestSource& source, CancelSignal& cancel) {
  return Request(utf16_to_utf8(source.location), source).run(cancel);
}

}  // namespace hvt
