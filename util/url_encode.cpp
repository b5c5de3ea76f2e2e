#include "util/url_encode.h"

#include <curl/curl.h>

#include <memory>
#include <new>

namespace {

struct curl_release {
    void operator()(CURL* handle) const { curl_easy_cleanup(handle); }
    void operator()(char* text) const { curl_free(text); }
};

} // namespace

std::string url_encode(const std::string& value)
{
    if (value.empty()) {
        return {};
    }
    // The first handle sets libcurl up, which older versions do not do safely in several threads at once.
    static const bool set_up = [] {
        curl_easy_cleanup(curl_easy_init());
        return true;
    }();
    static_cast<void>(set_up);
    const std::unique_ptr<CURL, curl_release> handle(curl_easy_init());
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
