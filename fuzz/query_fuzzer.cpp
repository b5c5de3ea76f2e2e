// All that asks the store: a letter that says which call, its text, then the store's answers.
#include "fuzz/check.h"
#include "fuzz/input.h"
#include "fuzz/kept_request.h"
#include "fuzz/library_call.h"
#include "fuzz/memory_session.h"
#include "util/json_members.h"

#include <korvane/ai_metadata.h>

#include <cstdlib>
#include <cstring>
#include <string>

using namespace korvane::fuzz;

namespace {

void check_code(int code, const memory_store& store)
{
    require(store.may_have_caused(code), "a code that is neither the library's nor the store's");
}

/// A call that stores a block for its caller: JSON on success, nothing on failure.
template <int (*function)(void*, void**)>
bool block_out(char* text, const memory_store& store, fatal_texts may_end)
{
    char untouched = 0;
    void* answer = &untouched;
    int code = -1;
    if (!library_survives([&] { code = function(text, &answer); }, may_end)) {
        require(answer == &untouched, "an answer was stored by a call that ended the process");
        return false;
    }
    check_code(code, store);
    require((answer != &untouched) == (code == 0), "an answer and a failure, or neither");
    if (code == 0) {
        const korvane::json_owner tree = korvane::parse_json(static_cast<const char*>(answer));
        require(json_object_is_type(tree.get(), json_type_object), "an answer is no JSON object",
                static_cast<const char*>(answer));
        std::free(answer);
    }
    return code == 0;
}

/// A call that fills its caller's buffer, whose size the interface says: a text on success, nothing on failure.
template <std::size_t size, class Call>
void buffer_out(Call call, const memory_store& store)
{
    constexpr char fill = '\x7e';
    exact_text buffer(std::string(size - 1, fill));
    int code = -1;
    library_survives([&] { code = call(buffer.data()); });
    check_code(code, store);
    require(code == 0 || buffer.view() == std::string(size - 1, fill),
            "a buffer was written to by a failure");
    require(std::memchr(buffer.data(), '\0', size) != nullptr, "a text without its terminator");
}

void query(char* text, const memory_store& store)
{
    watch_request();
    settle_request(block_out<query_ai_metadata>(
        text, store,
        {"x1", "y1", "x2", "y2", "x3", "y3", "x4", "y4", "channel_sid", "query_type", "start_time"}));
}

void groups(char* text, const memory_store& store)
{
    watch_request();
    block_out<query_ai_face_metadata_list_group>(text, store,
                                                 {"x1", "y1", "x2", "y2", "x3", "y3", "x4", "y4"});
    settle_request(false);
}

void latest(char* text, const memory_store& store)
{
    buffer_out<128>([text](char* out) { return get_latest_metadata(text, out); }, store);
}

void vault(char* /*text*/, const memory_store& store)
{
    buffer_out<256>([](char* out) { return get_IVA_vault_id(out); }, store);
}

void delete_counts(char* text, const memory_store& store)
{
    int code = -1;
    library_survives([&] { code = delete_people_counting(text); });
    check_code(code, store);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    std::vector<std::string_view> texts = split_texts(data, size);
    if (texts.size() < 2) {
        return -1; // no call without a text: not worth keeping
    }
    const std::string_view text = texts[1];
    const char letter = texts[0].empty() ? 'q' : texts[0][0];
    texts.erase(texts.begin(), texts.begin() + 2);
    const memory_store store(std::move(texts));
    exact_text given(text);
    switch (letter) {
    case 'g':
        groups(given.data(), store);
        break;
    case 'l':
        latest(given.data(), store);
        break;
    case 'v':
        vault(given.data(), store);
        break;
    case 'd':
        delete_counts(given.data(), store);
        break;
    default:
        query(given.data(), store);
    }
    require(given.view() == text, "the request was changed", given.view());
    return 0;
}
