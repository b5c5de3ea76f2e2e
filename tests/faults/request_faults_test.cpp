// Every system call of a store request fails in every way that the manual knows, is short, or is interrupted. The calls are
// found by watching a request, not listed: a new one is met the day it is made.
#include "tests/dispatch/calls.h"
#include "tests/faults/documented_errors.h"
#include "tests/faults/faults_test.h"
#include "tests/faults/peer_process.h"
#include "tests/faults/reply_rules.h"
#include "tests/faults/system_call_trace.h"
#include "tests/support/debug_log.h"
#include "tests/support/files.h"
#include "tests/support/sample_calls.h"
#include "tests/transport/exchange_test.h"

#include <sys/resource.h>

#include <functional>
#include <memory>
#include <set>
#include <thread>

namespace korvane::test {

namespace {

using std::chrono::milliseconds;

const std::string reply_body = R"({"ret":0})";
const std::string whole_reply = json_reply(reply_body).bytes;

struct request {
    const char* head;
    const char* body;
};

constexpr request requests[] = {{"GET /path", ""}, {"POST /path", R"({"a":1})"}};

/// What a shape of the calls is called, and how the calls are when nothing else is wrong with them.
struct call_shape {
    const char* name;
    std::size_t piece;
    bool interrupted_first;
};

constexpr call_shape shapes[] = {
    {"whole", no_limit, false},
    {"a byte a call", 1, false},
    {"each interrupted first", no_limit, true},
};

fault_script script_of(const call_shape& shape)
{
    fault_script script;
    script.piece = shape.piece;
    script.interrupted_first = shape.interrupted_first;
    return script;
}

bool is(const system_call& call, std::string_view name)
{
    return call.name == name;
}

std::size_t largest_transfer(const std::vector<system_call>& calls)
{
    long largest = 0;
    for (const system_call& call : calls) {
        largest = is(call, "send") || is(call, "recv") ? std::max(largest, call.result) : largest;
    }
    return static_cast<std::size_t>(largest);
}

using names = std::vector<std::string>;

names names_of(const std::vector<system_call>& calls)
{
    names all;
    for (const system_call& call : calls) {
        all.emplace_back(call.name);
    }
    return all;
}

/// By the first `count` calls.
std::size_t bytes_moved(const std::vector<system_call>& calls, std::size_t count, std::string_view name)
{
    long moved = 0;
    for (std::size_t i = 0; i < count; ++i) {
        moved += is(calls[i], name) ? std::max(calls[i].result, 0L) : 0;
    }
    return static_cast<std::size_t>(moved);
}

/// What is to come of a request whose call number `at` fails with `error` and goes on failing, `calls` being those of the
/// same request when all goes well.
exchange_end end_of_broken(const std::vector<system_call>& calls, std::size_t at, int error)
{
    const system_call& broken = calls[at];
    const bool again = error == EINTR || (error == EAGAIN && (is(broken, "send") || is(broken, "recv")));
    if (again || is(broken, "setsockopt") || is(broken, "close")) {
        return {0, reply_body};
    }
    const auto calls_before = calls.begin() + static_cast<std::ptrdiff_t>(at);
    const bool connected =
        std::any_of(calls.begin(), calls_before, [](const auto& call) { return is(call, "send"); });
    const bool sent = bytes_moved(calls, at, "send") == bytes_moved(calls, calls.size(), "send");
    if (is(broken, "send") || (connected && !sent)) {
        return {-2, earlier_reply};
    }
    const std::size_t came = bytes_moved(calls, at, "recv");
    return connected ? end_of_exchange(std::string_view(whole_reply).substr(0, came), earlier_reply)
                     : exchange_end{-1, earlier_reply};
}

/// The calls of one of a report's requests.
struct request_span {
    std::size_t begin;
    std::vector<system_call> calls;
    bool matters; ///< not the second request of a stored face: that face is stored, whatever comes of it
};

bool begins_a_request(const system_call& call)
{
    return is(call, "socket");
}

/// That which call number `at` belongs to.
request_span request_around(const std::vector<system_call>& calls, std::size_t at)
{
    const auto here = calls.begin() + static_cast<std::ptrdiff_t>(at);
    const auto begin =
        std::find_if(std::make_reverse_iterator(here + 1), calls.rend(), begins_a_request).base() - 1;
    const auto end = std::find_if(here + 1, calls.end(), begins_a_request);
    return {static_cast<std::size_t>(begin - calls.begin()), {begin, end}, begin == calls.begin()};
}

class request_faults : public faults_test {
protected:
    void SetUp() override
    {
        faults_test::SetUp();
        peer_ = std::make_unique<peer_process>();
    }

    struct tried {
        exchanged end;
        witnessed seen;
    };

    tried send_under(const fault_script& script, const request& what, int timeout_s = 20) const
    {
        tried result;
        const std::string head = what.head;
        const std::string body = what.body;
        result.seen =
            with_faults(script, [&] { result.end = exchange_with(peer_->port(), head, body, timeout_s); });
        return result;
    }

    void expect_end(const tried& result, const exchange_end& end, const std::string& what) const
    {
        constexpr milliseconds without_a_time_out{5000}; // nothing to wait for; the time-out is 20 seconds
        EXPECT_EQ(result.end.code, end.code) << what;
        EXPECT_EQ(result.end.reply, end.reply) << what;
        EXPECT_LT(result.end.took, without_a_time_out) << what;
        expect_nothing_left(result.seen, what);
    }

    void expect_next_request_works(const std::string& what) const
    {
        expect_end(send_under({}, requests[1]), {0, reply_body}, "the request after " + what);
    }

    /// Breaks call after call of a request in every way, each a request of its own.
    void sweep(const request& what, const call_shape& shape)
    {
        const tried calm = send_under(script_of(shape), what);
        expect_end(calm, {0, reply_body}, std::string(what.head) + ", " + shape.name);
        const std::vector<system_call>& calls = calm.seen.calls;
        for (std::size_t at = 0; at < calls.size() && !HasFailure(); ++at) {
            const std::vector<int>& errors = facts_of(calls[at].name).errors;
            expect_faults(errors.size());
            for (const int error : errors) {
                fault_script script = script_of(shape);
                script.at = at;
                script.error = error;
                const std::string told = std::string(what.head) + ", " + shape.name + ": " + calls[at].name +
                                         " as call " + std::to_string(at) + " fails with " +
                                         std::string(error_name(error));
                const tried broken = send_under(script, what);
                count_faults(broken.seen.injected);
                expect_end(broken, end_of_broken(calls, at, error), told);
                expect_next_request_works(told);
            }
        }
    }

    std::unique_ptr<peer_process> peer_;
};

TEST_F(request_faults, reach_every_system_call_of_a_request)
{
    for (const request& what : requests) {
        const std::vector<system_call> seen = send_under({}, what).seen.calls;
        const std::vector<long> traced =
            traced_system_calls([&] { exchange_with(peer_->port(), what.head, what.body); });
        expect_faults(traced.size());
        ASSERT_EQ(seen.size(), traced.size());
        for (std::size_t i = 0; i < seen.size(); ++i) {
            const std::vector<long>& numbers = facts_of(seen[i].name).numbers;
            const bool met = std::find(numbers.begin(), numbers.end(), traced[i]) != numbers.end();
            EXPECT_TRUE(met) << "call " << i << ", seen as " << seen[i].name << ", is number " << traced[i];
            count_faults(met);
        }
    }
}

/// Eight for a report. A head alone, which waits for a body, is told to leave by one option more, and so is what may not
/// fit one segment.
TEST_F(request_faults, meet_these_calls_and_no_others)
{
    const std::string longest_record(8191, 'b');
    const std::string long_body(20'000, 'b');
    const names all_of_a_head{"socket",     "setsockopt", "connect", "send",
                              "setsockopt", "setsockopt", "recv",    "close"};
    const names all_of_a_report{"socket", "setsockopt", "connect", "send",
                                "send",   "setsockopt", "recv",    "close"};
    names all_of_a_long_one = all_of_a_report;
    all_of_a_long_one.insert(all_of_a_long_one.begin() + 5, "setsockopt");
    const struct {
        request what;
        names calls;
    } cases[] = {
        {requests[0], all_of_a_head},
        {requests[1], all_of_a_report},
        {{"POST /path", longest_record.c_str()}, all_of_a_report},
        {{"POST /path", long_body.c_str()}, all_of_a_long_one},
    };
    for (const auto& c : cases) {
        const names calls = names_of(send_under({}, c.what).seen.calls);
        EXPECT_EQ(calls, c.calls) << c.what.head << ", a body of " << std::string_view(c.what.body).size();
        expect_faults(c.calls.size());
        count_faults(calls.size());
    }
}

TEST_F(request_faults, meet_options_once_however_long_the_reply)
{
    const peer_process peer({json_reply(R"({"a":")" + std::string(500'000, 'a') + R"("})")});
    const witnessed seen = with_faults({}, [&] { exchange_with(peer.port(), "GET /path"); });
    const names calls = names_of(seen.calls);
    expect_faults(3);
    count_faults(static_cast<std::size_t>(std::count(calls.begin(), calls.end(), "setsockopt")));
    EXPECT_GT(std::count(calls.begin(), calls.end(), "recv"), 2);
}

TEST_F(request_faults, of_whole_calls_give_the_stated_code)
{
    for (const request& what : requests) {
        sweep(what, shapes[0]);
    }
}

TEST_F(request_faults, of_calls_that_move_a_byte_give_the_stated_code)
{
    for (const request& what : requests) {
        sweep(what, shapes[1]);
    }
}

TEST_F(request_faults, of_interrupted_calls_give_the_stated_code)
{
    for (const request& what : requests) {
        sweep(what, shapes[2]);
    }
}

TEST_F(request_faults, are_met_by_the_calls_that_wait_for_an_interrupted_connect)
{
    const std::vector<system_call> calls = send_under(script_of(shapes[2]), requests[0]).seen.calls;
    for (const char* name : {"connect", "poll", "getsockopt"}) {
        expect_faults(1);
        count_faults(static_cast<std::size_t>(std::any_of(
            calls.begin(), calls.end(), [&](const system_call& call) { return is(call, name); })));
    }
}

TEST_F(request_faults, that_are_signals_do_no_harm_however_often)
{
    for (const request& what : requests) {
        const std::vector<system_call> calls = send_under({}, what).seen.calls;
        for (std::size_t at = 0; at < calls.size(); ++at) {
            if (!is_documented(calls[at].name, EINTR) || is(calls[at], "close")) {
                continue;
            }
            for (const std::size_t times : {2U, 3U, 20U, 1000U}) {
                fault_script script;
                script.error = EINTR;
                script.at = at;
                script.times = times; // connecting, once interrupted, is waited for by another call
                if (!is(calls[at], "connect")) {
                    script.only = calls[at].name;
                    script.at = static_cast<std::size_t>(
                        std::count_if(calls.begin(), calls.begin() + static_cast<std::ptrdiff_t>(at),
                                      [&](const system_call& call) { return is(call, calls[at].name); }));
                }
                const std::string told = std::to_string(times) + " signals during " + calls[at].name;
                expect_faults(times);
                const tried broken = send_under(script, what);
                count_faults(broken.seen.injected);
                expect_end(broken, {0, reply_body}, told);
                expect_next_request_works(told);
            }
        }
    }
}

TEST_F(request_faults, that_are_short_transfers_do_no_harm_whatever_their_size)
{
    for (const request& what : requests) {
        const std::size_t longest = largest_transfer(send_under({}, what).seen.calls);
        for (std::size_t piece = 1; piece < longest; ++piece) {
            fault_script script;
            script.piece = piece;
            expect_faults(1);
            const tried broken = send_under(script, what);
            count_faults(largest_transfer(broken.seen.calls) == piece);
            const std::string told = "transfers of " + std::to_string(piece) + " bytes";
            expect_end(broken, {0, reply_body}, told);
            expect_next_request_works(told);
        }
    }
}

TEST_F(request_faults, that_are_signals_without_end_last_as_long_as_the_time_out)
{
    const struct {
        const char* call;
        int code;
    } cases[] = {{"send", -2}, {"recv", -3}, {"poll", -1}};
    constexpr int time_out_s = 2;
    constexpr milliseconds longest{3500}; // less than two time-outs
    const int descriptors_before = open_descriptors();
    std::vector<std::thread> all;
    std::vector<tried> ends(std::size(cases));
    for (std::size_t i = 0; i < std::size(cases); ++i) {
        expect_faults(1);
        all.emplace_back([&, i] {
            fault_script script;
            script.at = 0;
            script.times = no_limit;
            script.only = cases[i].call;
            script.error = EINTR;
            script.interrupted_first = cases[i].code == -1; // so that connecting has to wait
            ends[i] = send_under(script, requests[0], time_out_s);
        });
    }
    for (std::thread& thread : all) {
        thread.join();
    }
    for (std::size_t i = 0; i < std::size(cases); ++i) {
        const char* told = cases[i].call;
        count_faults(ends[i].seen.injected > 0);
        EXPECT_EQ(ends[i].end.code, cases[i].code) << told;
        EXPECT_LT(ends[i].end.took, longest) << told;
        EXPECT_EQ(ends[i].seen.blocks_left, 0) << told;
    }
    EXPECT_EQ(open_descriptors(), descriptors_before);
    expect_next_request_works("signals without end");
}

class report_faults : public faults_test, public ::testing::WithParamInterface<sample_kind> {};

TEST_P(report_faults, end_in_the_reports_code)
{
    const std::string& report = GetParam().report;
    const peer_process store({}, scripted_store::default_port);
    int code = 0;
    const auto insert_under = [&](const fault_script& script) {
        return with_faults(script, [&] { code = insert(report); });
    };
    const std::vector<system_call> calls = insert_under({}).calls;
    ASSERT_EQ(code, 0);
    for (std::size_t at = 0; at < calls.size(); ++at) {
        const request_span request = request_around(calls, at);
        const std::vector<int>& errors = facts_of(calls[at].name).errors;
        expect_faults(errors.size());
        for (const int error : errors) {
            fault_script script;
            script.at = at;
            script.error = error;
            const std::string told = std::string(calls[at].name) + " as call " + std::to_string(at) + ": " +
                                     std::string(error_name(error));
            const witnessed broken = insert_under(script);
            count_faults(broken.injected);
            const bool stored =
                !request.matters || end_of_broken(request.calls, at - request.begin, error).code == 0;
            EXPECT_EQ(code, stored ? 0 : -1) << told;
            expect_nothing_left(broken, told);
            expect_nothing_left(insert_under({}), "the report after " + told);
            EXPECT_EQ(code, 0) << "after " << told;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(of, report_faults, ::testing::ValuesIn(sample_kinds()),
                         [](const auto& info) { return info.param.name; });

TEST_F(request_faults, that_are_missing_descriptors_fail_the_request_and_cost_nothing_more)
{
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
    const rlimit none{0, before.rlim_max};
    expect_faults(1);
    tried broken;
    broken.seen = with_faults({}, [&] {
        setrlimit(RLIMIT_NOFILE, &none);
        broken.end = exchange_with(peer_->port(), "GET /path");
        setrlimit(RLIMIT_NOFILE, &before);
    });
    count_faults(broken.seen.calls.size() == 1 && broken.seen.calls[0].result == -1);
    expect_end(broken, {-1, earlier_reply}, "a process without descriptors");
    expect_next_request_works("a process without descriptors");
}

} // namespace

} // namespace korvane::test
