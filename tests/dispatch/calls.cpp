#include "tests/dispatch/calls.h"

#include <korvane/ai_metadata.h>

#include <cstdlib>

namespace korvane::test {

int insert(std::string text)
{
    return insert_ai_metadata(text.data());
}

query_outcome query(std::string text)
{
    char untouched = 0;
    void* answer = &untouched;
    query_outcome outcome{query_ai_metadata(text.data(), &answer), std::nullopt};
    if (answer != &untouched) {
        outcome.answer = static_cast<char*>(answer);
        std::free(answer);
    }
    return outcome;
}

std::string line_of(const std::string& request)
{
    return request.substr(0, request.find(" HTTP/1.1\r\n"));
}

std::string body_of(const std::string& request)
{
    const std::size_t border = request.find("\r\n\r\n");
    return border == std::string::npos ? std::string() : request.substr(border + 4);
}

std::string last_request(scripted_store& store)
{
    const std::vector<std::string> requests = store.requests();
    return requests.empty() ? std::string() : requests.back();
}

} // namespace korvane::test
