#include "bench/library_calls.h"

#include "bench/fail.h"

#include <korvane/ai_metadata.h>

namespace korvane::bench {

void require_done(const char* call, int code)
{
    if (code != 0) {
        fail(std::string(call) + " returned " + std::to_string(code));
    }
}

void insert(std::string& report)
{
    require_done("insert_ai_metadata", insert_ai_metadata(report.data()));
}

answer_owner query(std::string& request)
{
    void* answer = nullptr;
    require_done("query_ai_metadata", query_ai_metadata(request.data(), &answer));
    return answer_owner(static_cast<char*>(answer));
}

} // namespace korvane::bench
