#include "tests/wire/entry_point_calls.h"

#include <korvane/ai_metadata.h>

#include <cstdlib>
#include <cstring>

namespace korvane::test {

namespace {

// One function for each shape that an entry point can have.

template <int (*function)(void*)>
call_outcome text_in(char* input)
{
    return {function(input), std::nullopt, {}};
}

template <int (*function)(void*, void**)>
call_outcome text_in_block_out(char* input)
{
    char untouched = 0;
    void* answer = &untouched;
    call_outcome outcome{function(input, &answer), std::nullopt, {}};
    if (answer == nullptr) {
        outcome.fault = "the answer pointer was set to null";
    } else if (answer != &untouched) {
        outcome.answer = static_cast<char*>(answer);
        std::free(answer);
    }
    return outcome;
}

/// The caller's buffer of `size` bytes, filled so that every byte written shows.
template <std::size_t size>
class watched_buffer {
public:
    watched_buffer() { std::memset(bytes_, fill, sizeof bytes_); }

    char* data() { return bytes_; }

    void read_into(call_outcome& outcome) const
    {
        std::size_t used = 0;
        if (bytes_[0] != fill && std::memchr(bytes_, '\0', size)) {
            outcome.answer = bytes_;
            used = outcome.answer->size() + 1;
        }
        for (std::size_t i = used; i < sizeof bytes_; ++i) {
            if (bytes_[i] != fill) {
                outcome.fault =
                    "the caller's buffer was written to at byte " + std::to_string(i) + ", behind its text";
                return;
            }
        }
    }

private:
    static constexpr char fill = '\x7e';
    char bytes_[size + 64];
};

template <int (*function)(void*, void*), std::size_t size>
call_outcome text_in_buffer_out(char* input)
{
    watched_buffer<size> buffer;
    call_outcome outcome{function(input, buffer.data()), std::nullopt, {}};
    buffer.read_into(outcome);
    return outcome;
}

template <int (*function)(void*), std::size_t size>
call_outcome buffer_out(char* /*input*/)
{
    watched_buffer<size> buffer;
    call_outcome outcome{function(buffer.data()), std::nullopt, {}};
    buffer.read_into(outcome);
    return outcome;
}

// clang-format off
constexpr entry_point_call calls[] = {
    {"insert",        text_in<insert_ai_metadata>},
    {"query",         text_in_block_out<query_ai_metadata>},
    {"face_groups",   text_in_block_out<query_ai_face_metadata_list_group>},
    {"latest",        text_in_buffer_out<get_latest_metadata, 128>},
    {"vault",         buffer_out<get_IVA_vault_id, 256>},
    {"delete_counts", text_in<delete_people_counting>},
};
// clang-format on

} // namespace

const entry_point_call* find_call(std::string_view name)
{
    for (const entry_point_call& call : calls) {
        if (name == call.name) {
            return &call;
        }
    }
    return nullptr;
}

std::string call_names()
{
    std::string names;
    for (const entry_point_call& call : calls) {
        names += (names.empty() ? "" : ", ") + std::string(call.name);
    }
    return names;
}

} // namespace korvane::test
