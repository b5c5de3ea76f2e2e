// The fixture of the transport's tests: one exchange with a scripted store on a port of its own.
#pragma once

#include "store/send_restful_req.h"
#include "tests/support/sandbox_test.h"
#include "tests/support/scripted_store.h"

#include <chrono>
#include <string>

namespace korvane::test {

/// What a reply text holds before a call, to see whether the call kept it.
inline const std::string earlier_reply = "earlier reply";

struct exchanged {
    int code = 0;
    std::string reply;
    std::chrono::milliseconds took{};
};

inline exchanged exchange_with(int port, std::string head, std::string body = {}, int timeout_s = 20)
{
    exchanged result;
    result.reply = earlier_reply;
    const auto start = std::chrono::steady_clock::now();
    result.code = send_RESTful_req(port, head.data(), body, result.reply, timeout_s);
    result.took =
        std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - start);
    return result;
}

class exchange_test : public sandbox_test {
protected:
    /// "GET /path" answered by `reply`.
    exchanged get(const scripted_reply& reply, int timeout_s = 20)
    {
        store_.reply_with(reply);
        return exchange_with(store_.port(), "GET /path", {}, timeout_s);
    }

    scripted_store store_{0};
};

} // namespace korvane::test
