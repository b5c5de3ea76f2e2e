// What the store's requests have in common: where they go and how a result is made of a reply.
#pragma once

#include "store/request_line.h"
#include "util/guarded.h"
#include "util/json_members.h"

#include <string>
#include <utility>

namespace korvane {

/// POSTs a body to `path` and returns the reply's "ret", without one the transport's result, and
/// -1 when the reply has no body. `spent` is freed while the store is at work.
int post_to_store(const char* path, std::string& body, json_owner spent);

/// POSTs the text that `write` makes of a record; a failure is logged under the name `function`.
template <class Record>
int post_record(const char* function, const char* path, const Record& record,
                void (*write)(const Record&, std::string&), json_owner spent)
{
    return guarded(function, [&] {
        std::string body;
        write(record, body);
        return post_to_store(path, body, std::move(spent));
    });
}

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
