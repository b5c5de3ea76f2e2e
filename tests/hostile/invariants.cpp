#include "tests/hostile/invariants.h"

#include "tests/hostile/json_judge.h"
#include "tests/support/child_process.h"
#include "tests/support/heap.h"

#include <korvane/ai_metadata.h>

#include <json-c/json.h>

#include <algorithm>
#include <iostream>
#include <regex>

namespace korvane::test {

namespace {

using tree = std::unique_ptr<json_object, int (*)(json_object*)>;

tree parsed(const std::string& text)
{
    return {json_tokener_parse(text.c_str()), json_object_put};
}

bool is_known(int code, const std::string& reply)
{
    const auto* end = std::end(result_meanings);
    const bool ours = std::find_if(std::begin(result_meanings), end, [code](const result_meaning& row) {
                          return row.code == static_cast<unsigned int>(code);
                      }) != end;
    const tree read = parsed(reply);
    json_object* ret = nullptr;
    return ours || (json_object_object_get_ex(read.get(), "ret", &ret) && json_object_get_int(ret) == code);
}

/// True for a reply with numbers that JSON does not have, or doubles do not: they are answered as json-c writes them.
bool has_endless_number(const std::string& reply)
{
    return reply.find("NaN") != std::string::npos || reply.find("Infinity") != std::string::npos ||
           reply.find("e999") != std::string::npos ||
           reply.find(std::string(400, '1')) != std::string::npos ||
           reply.find("1e1111") != std::string::npos;
}

long long blocks_of_tree(const std::string& text)
{
    const long long before = heap_blocks_of_this_thread();
    const tree made = parsed(text);
    return heap_blocks_of_this_thread() - before;
}

/// At least the parsed request: json-c keeps the text of a value with it once it was asked for.
bool leaves_what_it_may(const call_result& result, const target& called, const std::string& request)
{
    if (!heap_is_watched() || result.code != 0 || !called.keeps_request) {
        return result.blocks_left == 0;
    }
    const long long kept = blocks_of_tree(request);
    return result.blocks_left >= kept && result.blocks_left <= 3 * kept;
}

} // namespace

std::string wrong_with(const call_result& result, const target& called, const std::string& request,
                       const std::string& reply)
{
    if (!result.fault.empty()) {
        return result.fault;
    }
    if (!is_known(result.code, reply)) {
        return "the code " + std::to_string(result.code) + " is not known";
    }
    if (result.answer.has_value() != (called.fills && result.code == 0)) {
        return "code " + std::to_string(result.code) + (result.answer ? " with" : " without") + " an answer";
    }
    if (called.fills_json && result.answer && !is_json(*result.answer) &&
        !(has_endless_number(reply) && parsed(*result.answer))) {
        return "the answer is not JSON: " + *result.answer;
    }
    if (!leaves_what_it_may(result, called, request)) {
        return std::to_string(result.blocks_left) + " blocks left behind";
    }
    return {};
}

void hostile_test::SetUp()
{
    sandbox_test::SetUp();
    store_ = std::make_unique<answering_store>();
    for (const target& each : targets()) { // what is made once is made here
        store_->answer_with(each.reply);
        ASSERT_EQ(each.call(each.request).code, 0) << each.name;
    }
}

void hostile_test::TearDown()
{
    if (store_) {
        store_->stop();
        for (const std::string& complaint : store_->complaints()) {
            ADD_FAILURE() << complaint;
        }
    }
    EXPECT_GT(calls_, 0U) << "nothing was tried";
    RecordProperty("calls", static_cast<int>(calls_));
    RecordProperty("answers_with_endless_numbers", static_cast<int>(endless_));
    std::cout << calls_ << " calls, " << endless_ << " answers with numbers that JSON lacks\n";
}

call_result hostile_test::check(const target& called, const std::string& request, const std::string& reply,
                                const std::string& what)
{
    store_->answer_with(reply);
    call_result result = called.call(request);
    const std::string wrong = wrong_with(result, called, request, reply);
    EXPECT_EQ(wrong, "") << called.name << ", " << what;
    endless_ += called.fills_json && result.answer && has_endless_number(reply) && !is_json(*result.answer);
    count_call();
    return result;
}

void hostile_test::check_in_child(const target& called, const std::string& request, const std::string& reply,
                                  const std::string& what)
{
    static const std::regex said_so(
        "libkorvane: \"[a-z0-9_A-Z]+\" has [0-9]+ characters, at most [0-9]+ are allowed: "
        "ending the process\n");
    store_->answer_with(reply);
    const child_end end = run_in_child([&] {
        const std::string wrong = wrong_with(called.call(request), called, request, reply);
        std::cerr << wrong;
        return wrong.empty() ? 0 : 1;
    });
    const bool as_agreed = end.aborted() && std::regex_match(end.error_output, said_so);
    EXPECT_TRUE(as_agreed || (end.exited && end.status == 0))
        << called.name << ", " << what << ": " << end.describe() << ' ' << end.error_output;
    count_call();
}

} // namespace korvane::test
