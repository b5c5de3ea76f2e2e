#include "util/url_encode.h"

#include <curl/curl.h>

#include <memory>
#include <new>

namespace {

struct curl_release {
    void operator()(CURL* handle) const { curl_easy_cleanup(handle); }
    void operator()(char* text) const { curl_free(text); }
};
using curl_handle = std::unique_ptr<CURL, curl_release>;

curl_handle make_handle()
{
    curl_handle handle(curl_easy_init());
    if (handle) {
        // Or its release would set SIGPIPE aside for a moment: two threads that do so at once leave the host without it.
        curl_easy_setopt(handle.get(), CURLOPT_NOSIGNAL, 1L);
    }
    return handle;
}

/// The first handle of a process sets libcurl up. Here, while the library is being loaded: older versions do not do it
/// safely in several threads at once, and a host that forked during it would have a child that waits for ever.
[[maybe_unused]] const bool set_up = make_handle() != nullptr;

} // namespace

std::string url_encode(const std::string& value)
{
    if (value.empty()) {
        return {};
    }
    const curl_handle handle = make_handle();
    if (!handle) {
        return {};
    }
    const std::unique_ptr<char, curl_release> escaped(
        curl_easy_escape(handle.get(), value.data(), static_cast<int>(value.size())));
    try {
        return escaped ? std::string(escaped.get()) : std::string();
    } catch (const std::bad_alloc&) {
        return {};
    }
}
