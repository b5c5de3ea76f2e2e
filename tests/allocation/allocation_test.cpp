// Every allocation of a call fails once, for itself, and from it on for the rest of the call: no crash but json-c's own, no
// exception, nothing half written, nothing left behind, a code that says so, and the next call works as ever.
#include "tests/allocation/sweep.h"
#include "tests/log/log_call.h"
#include "tests/support/debug_log.h"
#include "tests/support/heap.h"
#include "tests/support/sandbox_test.h"
#include "tests/support/scripted_store.h"

#include <korvane/ai_metadata.h>

#include <cctype>
#include <iomanip>
#include <iostream>
#include <set>
#include <tuple>

namespace korvane::test {

namespace {

const char* name_of(effect what)
{
    switch (what) {
    case effect::refused:
        return "refused";
    case effect::whole:
        return "whole";
    case effect::crashed:
        return "crashed in json-c";
    case effect::silently:
        return "dropped by json-c";
    case effect::leaked:
        return "leaked by json-c";
    }
    return "?";
}

#define PARSING "json_tokener_parse_ex ... "

/// What json-c 0.16 is known to do, and in how many of all sweeps' calls at most: its tokener does not look whether it got a
/// copy of a member's name, whether a member could be added, whether the text of a value could grow.
struct known_fault {
    effect what;
    const char* place;
    std::size_t most;
};

constexpr known_fault known_faults[] = {
    {effect::crashed, "json_tokener_parse_ex: __strdup", 704},
    {effect::silently, PARSING "json_object_object_add_ex: __strdup", 358},
    {effect::leaked, PARSING "json_object_object_add_ex: __strdup", 1050},
    {effect::silently, PARSING "lh_table_new: calloc", 20},
    {effect::leaked, PARSING "lh_table_new: calloc", 48},
    {effect::silently, PARSING "printbuf_memappend: realloc", 25},
    {effect::leaked, PARSING "array_list_shrink: realloc",
     94}, // harmless; then the next, where memory stays gone
};

/// How often it may be at most; never what is not known.
std::size_t allowed(const json_c_fault& fault)
{
    const auto* known =
        std::find_if(std::begin(known_faults), std::end(known_faults), [&fault](const known_fault& one) {
            return one.what == fault.what && one.place == fault.place;
        });
    return known == std::end(known_faults) ? 0 : known->most;
}

/// Sums over all sweeps, printed at the end.
class totals : public ::testing::Environment {
public:
    void add(const sweep_result& result)
    {
        injected_ += result.injected;
        for (const auto& [what, count] : result.effects) {
            effects_[what] += count;
        }
        for (const auto& [fault, count] : result.json_c_faults) {
            faults_[fault] += count;
        }
    }

    void TearDown() override
    {
        std::cout << injected_ << " calls with a failing allocation\n";
        for (const auto& [what, count] : effects_) {
            std::cout << std::setw(8) << count << "  " << name_of(what) << '\n';
        }
        for (const auto& [fault, count] : faults_) {
            std::cout << std::setw(8) << count << "  " << name_of(fault.what) << ", " << fault.place << '\n';
            EXPECT_LE(count, allowed(fault)) << name_of(fault.what) << ", " << fault.place;
        }
    }

private:
    std::size_t injected_ = 0;
    std::map<effect, std::size_t> effects_;
    std::map<json_c_fault, std::size_t> faults_;
};

totals& all = *static_cast<totals*>(::testing::AddGlobalTestEnvironment(new totals));

// ------------------------------------------------------------------------------------------------ sweeps

class allocation : public sandbox_test,
                   public ::testing::WithParamInterface<std::tuple<swept_call, failing>> {};

std::string test_name(const ::testing::TestParamInfo<std::tuple<swept_call, failing>>& info)
{
    const auto& [call, how] = info.param;
    std::string name = call.name + (how == failing::once ? "_once" : "_from_there_on");
    for (char& letter : name) {
        letter = std::isalnum(static_cast<unsigned char>(letter)) ? letter : '_';
    }
    return name;
}

TEST_P(allocation, fails)
{
    const auto& [call, how] = GetParam();
    const sweep_result result = sweep(call, how);
    EXPECT_GT(result.injected, 0U) << "nothing was tried";
    RecordProperty("failing_allocations", static_cast<int>(result.injected));
    for (const std::string& complaint : result.complaints) {
        ADD_FAILURE() << complaint;
    }
    for (const auto& [fault, count] : result.json_c_faults) {
        EXPECT_GT(allowed(fault), 0U) << count << " times " << name_of(fault.what) << ": " << fault.place;
    }
    if (how == failing::from_there_on) {
        // Where memory does not come back, json-c says so by its result, or errno still does at the end of the text.
        const auto dropped = result.effects.find(effect::silently);
        EXPECT_EQ(dropped == result.effects.end() ? 0 : dropped->second, 0U);
    }
    all.add(result);
}

INSTANTIATE_TEST_SUITE_P(of, allocation,
                         ::testing::Combine(::testing::ValuesIn(swept_calls()),
                                            ::testing::Values(failing::once, failing::from_there_on)),
                         test_name);

// --------------------------------------------------------------------------------------- what was found

/// Every end that a call comes to when memory is gone from its n-th allocation on: code and outcome.
std::set<std::pair<int, std::string>> ends_without_memory(const std::string& name)
{
    const std::vector<swept_call> calls = swept_calls();
    const auto call = std::find_if(calls.begin(), calls.end(),
                                   [&name](const swept_call& candidate) { return candidate.name == name; });
    std::set<std::pair<int, std::string>> ends;
    if (call == calls.end()) {
        ADD_FAILURE() << "no call is named " << name;
        return ends;
    }
    scripted_store store;
    for (std::size_t number = 1, failures = 1; failures > 0; ++number) {
        store.reply_with(json_reply(call->reply));
        const auto prepared = call->prepare();
        fail_allocations({number, true, 0, nullptr});
        const int code = prepared->run();
        failures = stop_failing_allocations();
        if (failures > 0) {
            ends.emplace(code, prepared->outcome());
        }
    }
    return ends;
}

class without_memory : public sandbox_test {
protected:
    static constexpr int refused = static_cast<int>(result_bad_request);

    static std::string untouched_by(const std::string& name)
    {
        for (const swept_call& call : swept_calls()) {
            if (call.name == name) {
                return call.prepare()->outcome();
            }
        }
        return {};
    }

    static void expect_refusals_only(const std::string& name)
    {
        const std::string untouched = untouched_by(name);
        for (const auto& [code, outcome] : ends_without_memory(name)) {
            EXPECT_TRUE(code == refused || code == -1) << name << ": " << code;
            EXPECT_EQ(outcome, untouched) << name;
        }
    }
};

TEST_F(without_memory, the_stores_refusal_is_not_taken_for_success)
{
    for (const auto& [code, outcome] : ends_without_memory("insert_ai_metadata/refused")) {
        EXPECT_TRUE(code == refused || code == -1) << code; // never 0: the store has not taken it
    }
}

TEST_F(without_memory, a_reply_that_is_not_read_is_not_nothing_received)
{
    expect_refusals_only("get_latest_metadata/HumanDetection");
    expect_refusals_only("get_latest_metadata/FaceRecognition");
    expect_refusals_only("get_latest_metadata/ObjectDetection");
}

TEST_F(without_memory, a_reply_that_is_not_read_is_not_an_empty_answer)
{
    expect_refusals_only("query_ai_metadata/HumanDetection");
    expect_refusals_only("query_ai_metadata/FaceRecognition");
    expect_refusals_only("query_ai_metadata/ObjectDetection");
    expect_refusals_only("query_ai_face_metadata_list_group");
    expect_refusals_only("get_IVA_vault_id");
}

TEST_F(without_memory, the_answers_text_is_not_cut_where_it_cannot_grow)
{
    expect_refusals_only("query_ai_metadata/PeopleCounting_one_channel");
    expect_refusals_only("encode/vault");
}

TEST_F(without_memory, a_decoder_appends_nothing_unless_it_can_append_all)
{
    for (const char* name : {"decode/human", "decode/face", "decode/model", "decode/face groups",
                             "decode/statistics", "decode/vaults"}) {
        expect_refusals_only(name);
    }
}

TEST_F(without_memory, a_member_whose_text_cannot_be_made_is_left_out_by_the_getters)
{
    expect_refusals_only("get_json_string");
    expect_refusals_only("get_json_timestamp");
}

TEST_F(without_memory, a_long_log_line_holds_as_much_as_fits)
{
    const std::string message(5000, 'm');
    constexpr std::size_t fits = 927;
    fail_allocations({1, true, 0, nullptr});
    log("%s", message.c_str());
    EXPECT_GE(stop_failing_allocations(), 1U);
    EXPECT_EQ(debug_log_texts(), std::vector<std::string>{std::string(fits, 'm')});
}

TEST_F(without_memory, a_session_without_its_large_read_ahead_reads_on_in_small_pieces)
{
    constexpr std::size_t large_read_ahead = 65'536;
    scripted_store store;
    store.reply_with(json_reply(R"({"note":")" + std::string(10'000, 'x') + R"(","ret":0})"));
    std::string report =
        R"({"timestamp":"1","channel_sid":"door","results":[{"function_name":"HumanDetection",)"
        R"("objects":[[{"description":"x"}]]}]})";
    fail_allocations({1, true, large_read_ahead, nullptr});
    const int code = insert_ai_metadata(report.data());
    EXPECT_GE(stop_failing_allocations(), 1U);
    EXPECT_EQ(code, 0);
    EXPECT_EQ(store.requests().size(), 1U);
}

} // namespace

} // namespace korvane::test
