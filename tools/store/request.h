#pragma once

#include <functional>
#include <string>

/// One HTTP request. The path and the query stand as they were sent, nothing decoded.
struct request {
    std::string method;
    std::string path;
    std::string query; ///< what follows the first '?'
    std::string body;
};

struct reply {
    int status;       ///< of HTTP
    std::string body; ///< JSON text
    bool is_refusal = false;
    std::string allow = {}; ///< with status 405: the methods that the path has
};

using request_handler = std::function<reply(const request&)>;
