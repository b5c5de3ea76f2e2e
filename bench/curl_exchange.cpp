#include "bench/curl_exchange.h"

#include "bench/bare_exchange.h"
#include "bench/fail.h"
#include "bench/peer.h"

namespace korvane::bench {

namespace {

std::size_t keep(char* bytes, std::size_t size, std::size_t count, void* reply)
{
    static_cast<std::string*>(reply)->append(bytes, size * count);
    return size * count;
}

/// The path of "POST path HTTP/1.1".
std::string path_of(const std::string& request)
{
    const std::size_t begin = request.find(' ') + 1;
    return request.substr(begin, request.find(' ', begin) - begin);
}

template <class Value>
void set(CURL* handle, CURLoption option, Value value)
{
    if (curl_easy_setopt(handle, option, value) != CURLE_OK) {
        fail("libcurl refused option " + std::to_string(option));
    }
}

} // namespace

curl_exchanges::curl_exchanges(const std::vector<std::string>& recorded)
    : url_("http://127.0.0.1:" + std::to_string(store_port) + path_of(recorded.at(0)))
    , headers_(curl_slist_append(nullptr, "Content-Type: text/plain"), curl_slist_free_all)
{
    static const CURLcode set_up = curl_global_init(CURL_GLOBAL_DEFAULT);
    if (set_up != CURLE_OK) {
        fail("libcurl cannot be used");
    }
    for (const std::string& request : recorded) {
        bodies_.push_back(split_request(request).body);
    }
}

void curl_exchanges::operator()()
{
    for (const std::string& body : bodies_) {
        CURL* handle = curl_easy_init();
        std::string reply;
        set(handle, CURLOPT_URL, url_.c_str());
        set(handle, CURLOPT_USERAGENT, "Zym");
        set(handle, CURLOPT_HTTPHEADER, headers_.get());
        set(handle, CURLOPT_POSTFIELDS, body.data());
        set(handle, CURLOPT_POSTFIELDSIZE, static_cast<long>(body.size()));
        set(handle, CURLOPT_WRITEFUNCTION, keep);
        set(handle, CURLOPT_WRITEDATA, static_cast<void*>(&reply));
        set(handle, CURLOPT_PROXY, "");
        set(handle, CURLOPT_NOSIGNAL, 1L);
        const CURLcode done = curl_easy_perform(handle);
        long status = 0;
        curl_easy_getinfo(handle, CURLINFO_RESPONSE_CODE, &status);
        curl_easy_cleanup(handle);
        if (done != CURLE_OK || status != 200 || reply.empty()) {
            fail(std::string("libcurl: ") + curl_easy_strerror(done) + ", status " + std::to_string(status));
        }
    }
}

} // namespace korvane::bench
