#include <windows.h>
#include <winhttp.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <type_traits>

#include "base/text.h"
#include "update/fetch.h"
#include "update/fetch_rules.h"

namespace hvt {
namespace {

struct Closer {
  void operator()(HINTERNET handle) const { WinHttpCloseHandle(handle); }
};
using Internet = std::unique_ptr<std::remove_pointer_t<HINTERNET>, Closer>;

std::runtime_error failed_with(DWORD error) {
  return request_failed("Windows error " + std::to_string(error));
}

void require(BOOL succeeded) {
  if (!succeeded) throw failed_with(GetLastError());
}

Internet opened(HINTERNET handle) {
  require(handle != nullptr);
  return Internet(handle);
}

// The steps of one request as WinHTTP reports them on its own threads.
//
// Promises  none of the waits outlasts the deadline or the signal; a step that ends later finds this here.
// Threads   on_status() any, the rest the fetching thread.
// Owns      the buffer that a read fills.
// Ends      when the fetch and the request handle are both done with it.
class Exchange {
 public:
  explicit Exchange(CancelSignal& cancel)
      : cancel_(cancel), deadline_(std::chrono::steady_clock::now() + kFetchTimeout) {}

  // Has `request` report here until it is closed. Returns the context to send it with.
  static DWORD_PTR attach(const std::shared_ptr<Exchange>& exchange, HINTERNET request);

  // Runs a step: its call, then the wait for its end. Returns how many bytes it is about.
  template <typename Call>
  DWORD step(Call call) {
    {
      const std::lock_guard lock(mutex_);
      result_.reset();
    }
    if (!call()) ended({.error = GetLastError()});
    return await_end();
  }

  std::array<char, 4096>& buffer() { return buffer_; }

 private:
  struct Result {
    DWORD error = ERROR_SUCCESS;
    DWORD bytes = 0;
  };

  static void CALLBACK on_status(HINTERNET, DWORD_PTR context, DWORD status, void* details, DWORD length);
  void ended(Result result);
  DWORD await_end();

  CancelSignal& cancel_;
  const std::chrono::steady_clock::time_point deadline_;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::optional<Result> result_;
  std::array<char, 4096> buffer_{};
};

DWORD_PTR Exchange::attach(const std::shared_ptr<Exchange>& exchange, HINTERNET request) {
  auto context = std::make_unique<std::shared_ptr<Exchange>>(exchange);
  DWORD_PTR value = reinterpret_cast<DWORD_PTR>(context.get());
  require(WinHttpSetOption(request, WINHTTP_OPTION_CONTEXT_VALUE, &value, sizeof value));
  const auto previous =
      WinHttpSetStatusCallback(request, &Exchange::on_status,
                               WINHTTP_CALLBACK_FLAG_ALL_COMPLETIONS | WINHTTP_CALLBACK_FLAG_HANDLES, 0);
  require(previous != WINHTTP_INVALID_STATUS_CALLBACK);
  context.release();  // on_status() has it until the handle closes
  return value;
}

void CALLBACK Exchange::on_status(HINTERNET, DWORD_PTR context, DWORD status, void* details, DWORD length) {
  auto* const exchange = reinterpret_cast<std::shared_ptr<Exchange>*>(context);
  switch (status) {
    case WINHTTP_CALLBACK_STATUS_SENDREQUEST_COMPLETE:
    case WINHTTP_CALLBACK_STATUS_HEADERS_AVAILABLE: return (*exchange)->ended({});
    case WINHTTP_CALLBACK_STATUS_DATA_AVAILABLE:
      return (*exchange)->ended({.bytes = *static_cast<const DWORD*>(details)});
    case WINHTTP_CALLBACK_STATUS_READ_COMPLETE: return (*exchange)->ended({.bytes = length});
    case WINHTTP_CALLBACK_STATUS_REQUEST_ERROR:
      return (*exchange)->ended({.error = static_cast<const WINHTTP_ASYNC_RESULT*>(details)->dwError});
    case WINHTTP_CALLBACK_STATUS_HANDLE_CLOSING: delete exchange; return;
    default: return;
  }
}

void Exchange::ended(Result result) {
  const std::lock_guard lock(mutex_);
  result_ = result;
  changed_.notify_all();
}

DWORD Exchange::await_end() {
  const CancelSignal::Wake wake(cancel_, [this] {
    const std::lock_guard lock(mutex_);
    changed_.notify_all();
  });
  std::unique_lock lock(mutex_);
  changed_.wait_until(lock, deadline_, [this] { return result_ || cancel_.cancelled(); });
  if (cancel_.cancelled()) throw cancelled();
  if (std::chrono::steady_clock::now() >= deadline_) throw timed_out();
  if (result_->error != ERROR_SUCCESS) throw failed_with(result_->error);
  return result_->bytes;
}

struct Location {
  std::wstring host;
  INTERNET_PORT port = 0;
  std::wstring path;  // with the query
  bool secure = true;
};

Location parse_location(const ManifestSource& source) {
  URL_COMPONENTS parts{};
  parts.dwStructSize = sizeof parts;
  // Not copied out, but pointed to.
  parts.dwSchemeLength = parts.dwHostNameLength = parts.dwUrlPathLength = parts.dwExtraInfoLength =
      static_cast<DWORD>(-1);
  require(WinHttpCrackUrl(source.location.c_str(), 0, 0, &parts));
  Location location;
  location.host.assign(parts.lpszHostName, parts.dwHostNameLength);
  location.port = parts.nPort;
  location.path.assign(parts.lpszUrlPath, parts.dwUrlPathLength);
  location.path.append(parts.lpszExtraInfo, parts.dwExtraInfoLength);
  location.secure = parts.nScheme == INTERNET_SCHEME_HTTPS;
  if (!may_fetch(location.secure ? "https" : "http", utf16_to_utf8(location.host), source))
    throw failed_with(ERROR_WINHTTP_UNRECOGNIZED_SCHEME);
  return location;
}

void set_number(HINTERNET handle, DWORD option, DWORD value) {
  require(WinHttpSetOption(handle, option, &value, sizeof value));
}

std::optional<DWORD> header_number(HINTERNET request, DWORD header) {
  DWORD number = 0;
  DWORD size = sizeof number;
  if (!WinHttpQueryHeaders(request, header | WINHTTP_QUERY_FLAG_NUMBER, WINHTTP_HEADER_NAME_BY_INDEX, &number,
                           &size, WINHTTP_NO_HEADER_INDEX))
    return std::nullopt;
  return number;
}

void limit_waits(HINTERNET handle) {
  constexpr int kLimit = static_cast<int>(kFetchTimeout.count());
  require(WinHttpSetTimeouts(handle, kLimit, kLimit, kLimit, kLimit));
  set_number(handle, WINHTTP_OPTION_RECEIVE_RESPONSE_TIMEOUT, static_cast<DWORD>(kFetchTimeout.count()));
}

Internet open_session() {
  const std::wstring agent = utf8_to_utf16(user_agent());
  auto session = opened(WinHttpOpen(agent.c_str(), WINHTTP_ACCESS_TYPE_AUTOMATIC_PROXY, WINHTTP_NO_PROXY_NAME,
                                    WINHTTP_NO_PROXY_BYPASS, WINHTTP_FLAG_ASYNC));
  limit_waits(session.get());
  return session;
}

Internet open_request(HINTERNET connection, const Location& location) {
  auto request =
      opened(WinHttpOpenRequest(connection, L"GET", location.path.c_str(), nullptr, WINHTTP_NO_REFERER,
                                WINHTTP_DEFAULT_ACCEPT_TYPES, location.secure ? WINHTTP_FLAG_SECURE : 0));
  set_number(request.get(), WINHTTP_OPTION_MAX_HTTP_AUTOMATIC_REDIRECTS, kMostRedirects);
  set_number(request.get(), WINHTTP_OPTION_REDIRECT_POLICY,
             WINHTTP_OPTION_REDIRECT_POLICY_DISALLOW_HTTPS_TO_HTTP);
  // Wine hears of the end of a request that waits for its headers by nothing else.
  set_number(request.get(), WINHTTP_OPTION_RECEIVE_RESPONSE_TIMEOUT,
             static_cast<DWORD>(kFetchTimeout.count()));
  require(WinHttpAddRequestHeaders(request.get(), L"Cache-Control: no-cache\r\n", static_cast<DWORD>(-1),
                                   WINHTTP_ADDREQ_FLAG_ADD | WINHTTP_ADDREQ_FLAG_REPLACE));
  return request;
}

std::string read_body(HINTERNET request, Exchange& exchange) {
  std::string body;
  auto& buffer = exchange.buffer();
  // A read of more than is there may block until it has that, in Wine even the call itself.
  while (const DWORD available = exchange.step([&] { return WinHttpQueryDataAvailable(request, nullptr); })) {
    const DWORD wanted = std::min(available, static_cast<DWORD>(buffer.size()));
    const DWORD count =
        exchange.step([&] { return WinHttpReadData(request, buffer.data(), wanted, nullptr); });
    if (count == 0) break;
    if (body.size() + count > kManifestLimit) throw manifest_too_long();
    body.append(buffer.data(), count);
  }
  // Not every system reports a connection that ended too early.
  const auto announced = header_number(request, WINHTTP_QUERY_CONTENT_LENGTH);
  if (announced && body.size() < *announced) throw failed_with(ERROR_WINHTTP_CONNECTION_ERROR);
  return body;
}

}  // namespace

std::string fetch_update_manifest(const ManifestSource& source, CancelSignal& cancel) {
  const Location location = parse_location(source);
  const Internet session = open_session();
  const Internet connection = opened(WinHttpConnect(session.get(), location.host.c_str(), location.port, 0));
  const Internet request = open_request(connection.get(), location);
  const auto exchange = std::make_shared<Exchange>(cancel);
  const DWORD_PTR context = Exchange::attach(exchange, request.get());

  exchange->step([&] {
    return WinHttpSendRequest(request.get(), WINHTTP_NO_ADDITIONAL_HEADERS, 0, WINHTTP_NO_REQUEST_DATA, 0, 0,
                              context);
  });
  exchange->step([&] { return WinHttpReceiveResponse(request.get(), nullptr); });
  const auto status = header_number(request.get(), WINHTTP_QUERY_STATUS_CODE);
  require(status.has_value());
  if (!is_success(static_cast<long>(*status))) throw refused_with(static_cast<long>(*status));
  return read_body(request.get(), *exchange);
}

}  // namespace hvt
