// One call of each entry point and kind, for hosts that do something odd around them.
#pragma once

#include <korvane/ai_metadata.h>

#include <string>
#include <vector>

namespace korvane::test {

/// The six entry points, linked or looked up.
struct entry_points {
    int (*insert)(void*);
    int (*query)(void*, void**);
    int (*groups)(void*, void**);
    int (*latest)(void*, void*);
    int (*vault)(void*);
    int (*delete_counts)(void*);
};

/// Those that the program is linked with. Inline: a program that loads the library later has none to refer to.
inline entry_points linked_entry_points()
{
    return {insert_ai_metadata,  query_ai_metadata, query_ai_face_metadata_list_group,
            get_latest_metadata, get_IVA_vault_id,  delete_people_counting};
}

/// Those of a library opened by dlopen. Throws std::runtime_error with the name that is missing.
entry_points entry_points_of(void* library);

struct sample_call {
    enum class entry { insert, query, groups, latest, vault, delete_counts };
    enum class log { silent, told };

    const char* name;
    entry where;
    const char* text; ///< "@@" stands for eight digits of the caller's choice
    log lines = log::silent;
    bool keeps_request = false; ///< a successful query does
};

/// All of them, answered by an answering_store: each kind stored and asked for, in its forms, and some that
/// fail.
const std::vector<sample_call>& sample_calls();

struct call_result {
    int code = 0;
    std::string answer; ///< empty: none was given

    bool operator==(const call_result& other) const { return code == other.code && answer == other.answer; }
};

/// The request's text with the eight digits of `mark`, 0 to 99'999'999, put in.
std::string text_of(const sample_call& call, int mark);

/// Makes the call; releases the answer.
call_result make_call(const entry_points& library, const sample_call& call, int mark);

/// Every sample called once.
std::vector<call_result> make_all_calls(const entry_points& library, int mark);

/// "human_query: code 0, answer ...", for messages.
std::string describe(const sample_call& call, const call_result& result);

/// The names of the calls whose results are not as expected, with both; empty: all are.
std::string differences(const std::vector<call_result>& expected, const std::vector<call_result>& got);

} // namespace korvane::test
