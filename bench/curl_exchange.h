// The exchanges of a call by libcurl, as a host would make them that has the requests ready.
#pragma once

#include <curl/curl.h>

#include <memory>
#include <string>
#include <vector>

namespace korvane::bench {

/// Sends the bodies that a call of the library posted, each with an easy handle and a connection of its own and the
/// same head as the library's, and keeps the reply's body. No JSON is read or written.
class curl_exchanges {
public:
    /// `recorded`: the POST requests as the peer got them, all to one path.
    explicit curl_exchanges(const std::vector<std::string>& recorded);

    void operator()();

private:
    std::string url_;
    std::vector<std::string> bodies_;
    std::shared_ptr<curl_slist> headers_;
};

} // namespace korvane::bench
