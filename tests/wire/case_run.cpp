#include "tests/wire/case_run.h"

#include "tests/support/child_process.h"
#include "tests/support/debug_log.h"
#include "tests/support/decimal_comma.h"
#include "tests/support/time_zone.h"

#include <chrono>
#include <cstdio>

namespace korvane::test {

namespace {

/// All that a call left behind.
struct observation {
    call_outcome outcome;
    child_end end; ///< of the child that made the call, where the call is to end the process
    std::vector<std::string> requests;
    std::vector<std::string> log;
    time_window window;
};

long long now_ms()
{
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::milliseconds>(now).count();
}

call_outcome make_call(const wire_case& wanted)
{
    std::optional<decimal_comma> comma;
    if (wanted.decimal_comma) {
        comma.emplace();
    }
    if (!wanted.input) {
        return wanted.call->run(nullptr);
    }
    std::string input = *wanted.input;
    call_outcome outcome = wanted.call->run(input.data());
    if (input != *wanted.input) {
        outcome.fault = "the input text was changed to " + input;
    }
    return outcome;
}

observation observe(const wire_case& wanted)
{
    scripted_store store;
    for (const wire_exchange& exchange : wanted.exchanges) {
        store.reply_with(exchange.reply.value_or(json_reply(R"({"ret":0})")));
    }
    if (wanted.store_is_down) {
        store.stop();
    }
    set_time_zone(wanted.zone);

    observation seen;
    seen.window.begin_ms = now_ms();
    if (wanted.abort_message.value) {
        seen.end = run_in_child([&] { return make_call(wanted).code == 0 ? 0 : 1; });
    } else {
        seen.outcome = make_call(wanted);
    }
    seen.window.end_ms = now_ms();
    seen.requests = store.requests();
    seen.log = debug_log_messages();
    return seen;
}

expected_text framed(const wire_exchange& exchange)
{
    expected_text request = exchange.request_line;
    request.append(" HTTP/1.1\r\nHost: 127.0.0.1:10158\r\nUser-Agent: Zym\r\nAccept: */*\r\n");
    if (!exchange.body.empty()) {
        request.append("Content-Type: text/plain\r\nContent-Length: " + std::to_string(exchange.body.size()) +
                       "\r\n");
    }
    request.append("\r\n");
    request.append(exchange.body);
    return request;
}

class comparison {
public:
    comparison(const wire_case& wanted, const observation& seen)
        : wanted_(wanted)
        , seen_(seen)
    {
    }

    std::vector<case_failure> failures()
    {
        if (wanted_.abort_message.value) {
            compare_abort();
        } else {
            compare_result();
            compare_answer();
        }
        compare_requests();
        compare_log();
        return std::move(failures_);
    }

private:
    void compare_text(int line, const std::string& what, const expected_text& expected,
                      const std::string& actual)
    {
        if (const auto at = expected.mismatch(actual, seen_.window)) {
            failures_.push_back(
                {line, what + " is not as expected\n" + describe_mismatch(expected, actual, *at)});
        }
    }

    void compare_abort()
    {
        if (!seen_.end.aborted()) {
            failures_.push_back({wanted_.abort_message.line,
                                 "the call was to abort the process, but it " + seen_.end.describe() +
                                     " and wrote to standard error: " + seen_.end.error_output});
            return;
        }
        expected_text message = *wanted_.abort_message.value;
        message.append("\n");
        compare_text(wanted_.abort_message.line, "what was written to standard error", message,
                     seen_.end.error_output);
    }

    void compare_result()
    {
        const auto code = static_cast<unsigned>(seen_.outcome.code);
        if (code != *wanted_.result.value) {
            char text[96];
            std::snprintf(text, sizeof text, "result 0x%08X (%d), expected 0x%08X (%d)", code,
                          static_cast<int>(code), *wanted_.result.value,
                          static_cast<int>(*wanted_.result.value));
            failures_.push_back({wanted_.result.line, text});
        }
        if (!seen_.outcome.fault.empty()) {
            failures_.push_back({wanted_.line, seen_.outcome.fault});
        }
    }

    void compare_answer()
    {
        const auto& expected = wanted_.answer;
        const auto& actual = seen_.outcome.answer;
        if (expected.value && actual) {
            compare_text(expected.line, "the answer", *expected.value, *actual);
        } else if (expected.value) {
            failures_.push_back({expected.line, "no answer was stored"});
        } else if (actual) {
            failures_.push_back({wanted_.line, "an answer was stored, though the case has none: " + *actual});
        }
    }

    void compare_requests()
    {
        const auto& expected = wanted_.exchanges;
        const auto& actual = seen_.requests;
        for (std::size_t i = 0; i < expected.size() && i < actual.size(); ++i) {
            compare_text(expected[i].line, "request " + std::to_string(i + 1), framed(expected[i]),
                         actual[i]);
        }
        for (std::size_t i = actual.size(); !wanted_.store_is_down && i < expected.size(); ++i) {
            failures_.push_back({expected[i].line, "request " + std::to_string(i + 1) + " was not sent"});
        }
        for (std::size_t i = expected.size(); i < actual.size(); ++i) {
            failures_.push_back({wanted_.line, "request " + std::to_string(i + 1) +
                                                   " was sent, though the case has none:\n" + actual[i]});
        }
    }

    void compare_log()
    {
        const auto& expected = wanted_.log.value;
        const auto& actual = seen_.log;
        const int line = wanted_.log.line > 0 ? wanted_.log.line : wanted_.line;
        for (std::size_t i = 0; i < expected.size() && i < actual.size(); ++i) {
            compare_text(line, "log line " + std::to_string(i + 1), expected[i], actual[i]);
        }
        for (std::size_t i = actual.size(); i < expected.size(); ++i) {
            failures_.push_back(
                {line, "log line " + std::to_string(i + 1) + " was not written: " + expected[i].spelled()});
        }
        for (std::size_t i = expected.size(); i < actual.size(); ++i) {
            failures_.push_back({line, "log line " + std::to_string(i + 1) +
                                           " was written, though the case has none: " + actual[i]});
        }
    }

    const wire_case& wanted_;
    const observation& seen_;
    std::vector<case_failure> failures_;
};

} // namespace

std::vector<case_failure> run_case(const wire_case& wanted)
{
    const observation seen = observe(wanted);
    return comparison(wanted, seen).failures();
}

} // namespace korvane::test
