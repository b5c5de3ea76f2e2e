#include "tests/hostile/calls.h"

#include "tests/support/heap.h"
#include "tests/support/sample_calls.h"

#include <korvane/ai_metadata.h>

#include <cstdlib>
#include <cstring>

namespace korvane::test {

namespace {

template <int (*function)(void*)>
call_result text_in(const std::string& request)
{
    std::string text = request;
    call_result result;
    const long long before = heap_blocks_of_this_thread();
    result.code = function(text.data());
    result.blocks_left = heap_blocks_of_this_thread() - before;
    return result;
}

template <int (*function)(void*, void**)>
call_result text_in_block_out(const std::string& request)
{
    std::string text = request;
    call_result result;
    char untouched = 0;
    void* answer = &untouched;
    long long blocks = -heap_blocks_of_this_thread();
    result.code = function(text.data(), &answer);
    blocks += heap_blocks_of_this_thread();
    if (answer == nullptr) {
        result.fault = "the answer's pointer was set to null";
    } else if (answer != &untouched) {
        result.answer = static_cast<char*>(answer);
        std::free(answer);
        --blocks;
    }
    result.blocks_left = heap_is_watched() ? blocks : 0;
    return result;
}

/// `call` fills a buffer of the caller's of `size` bytes.
template <std::size_t size, class Call>
call_result buffer_out(Call call)
{
    constexpr std::size_t behind = 64;
    constexpr char fill = '\x7e';
    char buffer[size + behind];
    std::memset(buffer, fill, sizeof buffer);
    call_result result;
    const long long before = heap_blocks_of_this_thread();
    result.code = call(buffer);
    result.blocks_left = heap_blocks_of_this_thread() - before;
    const std::size_t length = strnlen(buffer, size);
    if (buffer[0] != fill || buffer[size - 1] != fill) {
        if (length < size) {
            result.answer = buffer;
        } else {
            result.fault = "the buffer's text has no end";
        }
    }
    for (std::size_t i = result.answer ? length + 1 : 0; i < sizeof buffer; ++i) {
        if (buffer[i] != fill) {
            result.fault = "the buffer was written to at byte " + std::to_string(i);
        }
    }
    return result;
}

call_result newest(const std::string& request)
{
    std::string text = request;
    return buffer_out<128>([&text](char* buffer) { return get_latest_metadata(text.data(), buffer); });
}

call_result vault(const std::string& /*request*/)
{
    return buffer_out<256>([](char* buffer) { return get_IVA_vault_id(buffer); });
}

const std::string done = R"({"ret":0})";

void add_kind(std::vector<target>& made, const sample_kind& kind)
{
    const bool statistics = kind.name == "PeopleCounting";
    target report{"insert_" + kind.name, text_in<insert_ai_metadata>, kind.report, done};
    report.ending = {"timestamp"};
    if (kind.name == "HumanDetection" || statistics) {
        report.ending.insert(
            {"channel_sid", "appID", "appName", "model", "brand", "version", "task_name", "description"});
    }
    made.push_back(report);
    for (const sample_query& asked : kind.queries) {
        target query{"query_" + asked.name, text_in_block_out<query_ai_metadata>, asked.request, asked.reply};
        query.keeps_request = query.fills = query.fills_json = true;
        query.ending = statistics ? std::set<std::string>{"channel_sid", "query_type", "start_time"}
                                  : std::set<std::string>{"x1", "y1", "x2", "y2", "x3", "y3", "x4", "y4"};
        made.push_back(query);
    }
}

std::vector<target> make_targets()
{
    std::vector<target> made;
    for (const sample_kind& kind : sample_kinds()) {
        add_kind(made, kind);
    }
    target groups{"groups", text_in_block_out<query_ai_face_metadata_list_group>, sample_groups_request(),
                  sample_groups_reply()};
    groups.fills = groups.fills_json = true;
    groups.ending = {"x1", "y1", "x2", "y2", "x3", "y3", "x4", "y4"};
    made.push_back(groups);
    const struct {
        const char* kind;
        std::string reply;
    } looked_up[] = {{"HumanDetection", sample_human_reply()},
                     {"FaceRecognition", sample_face_reply()},
                     {"ObjectDetection", sample_model_reply()}};
    for (const auto& row : looked_up) {
        target latest{"latest_" + std::string(row.kind), newest, sample_latest_request(row.kind), row.reply};
        latest.fills = true;
        made.push_back(latest);
    }
    target find_vault{"vault", vault, "", sample_vaults_reply()};
    find_vault.fills = true;
    made.push_back(find_vault);
    made.push_back({"delete_counts", text_in<delete_people_counting>, "1700000000000", done});
    return made;
}

} // namespace

const std::vector<target>& targets()
{
    static const std::vector<target> made = make_targets();
    return made;
}

std::vector<target> targets_that(bool (*wanted)(const target& each))
{
    std::vector<target> all;
    std::copy_if(targets().begin(), targets().end(), std::back_inserter(all), wanted);
    return all;
}

bool are_asked_in_json(const target& each)
{
    return each.request.rfind('{', 0) == 0;
}

} // namespace korvane::test
