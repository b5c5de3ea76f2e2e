// What the store's requests have in common: where they go and how a result is made of a reply.
#pragma once

#include "store/request_line.h"

#include <string>

namespace korvane {

/// POSTs a body to `path` and returns the reply's "ret", without one the transport's result, and
/// -1 when the reply has no body.
int post_to_store(const char* path, std::string& body);

/// A query's reply as it came and the transport's result; -1 for a reply without a body, result_bad_request when
/// the line may not be sent, which is logged.
struct query_reply {
    int result;
    std::string body;
};

query_reply query_store(request_line& line);

/// Sends a line whose reply body means nothing; returns the transport's result alone.
int tell_store(request_line& line);

} // namespace korvane
