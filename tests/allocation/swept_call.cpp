#include "tests/allocation/swept_call.h"

#include "codec/face.h"
#include "codec/human.h"
#include "codec/model.h"
#include "codec/people_counting.h"
#include "codec/vault.h"
#include "dispatch/kinds.h"
#include "store/ai_CDataBaseComm.h"
#include "store/send_restful_req.h"
#include "tests/support/record_texts.h"
#include "tests/support/sample_calls.h"
#include "util/coordinates.h"
#include "util/json_members.h"
#include "util/result.h"
#include "util/text_checks.h"
#include "util/url_encode.h"

#include <korvane/ai_metadata.h>

#include <cstdlib>
#include <cstring>
#include <utility>

namespace korvane::test {

namespace {

template <class State, class Run, class Outcome>
class call_with_state : public prepared_call {
public:
    call_with_state(const State& state, Run run, Outcome outcome)
        : state_(state)
        , run_(run)
        , outcome_(outcome)
    {
    }

    int run() override { return run_(state_); }
    std::string outcome() const override { return outcome_(state_); }

private:
    State state_;
    Run run_;
    Outcome outcome_;
};

/// A call whose arguments and outputs are `state`, of which each call gets a copy.
template <class State, class Run, class Outcome>
swept_call swept(std::string name, std::string reply, State state, Run run, Outcome outcome)
{
    return {std::move(name), std::move(reply), [state, run, outcome] {
                return std::make_unique<call_with_state<State, Run, Outcome>>(state, run, outcome);
            }};
}

const std::string done = R"({"ret":0})";

// ------------------------------------------------------------------------------------------ entry points

swept_call report(const std::string& name, const std::string& text, const std::string& reply = done)
{
    return swept(
        name, reply, text, [](std::string& state) { return insert_ai_metadata(state.data()); },
        [](const std::string&) { return std::string(); });
}

struct text_and_block {
    explicit text_and_block(std::string given)
        : text(std::move(given))
    {
    }
    text_and_block(const text_and_block& other) = default;
    ~text_and_block()
    {
        if (block != &untouched) {
            std::free(block);
        }
    }

    static char untouched;
    std::string text;
    void* block = &untouched;
};

char text_and_block::untouched = 0;

template <int (*function)(void*, void**)>
swept_call question(const std::string& name, const std::string& text, const std::string& reply)
{
    return swept(
        name, reply, text_and_block(text),
        [](text_and_block& state) { return function(state.text.data(), &state.block); },
        [](const text_and_block& state) {
            return state.block == &text_and_block::untouched ? "untouched"
                   : state.block == nullptr                  ? "null"
                                                             : std::string(static_cast<char*>(state.block));
        });
}

struct text_and_buffer {
    std::string text;
    std::string buffer = std::string(512, '~');
};

swept_call newest(const std::string& kind, const std::string& reply)
{
    return swept(
        "get_latest_metadata/" + kind, reply, text_and_buffer{sample_latest_request(kind)},
        [](text_and_buffer& state) { return get_latest_metadata(state.text.data(), state.buffer.data()); },
        [](const text_and_buffer& state) { return state.buffer; });
}

void add_entry_points(std::vector<swept_call>& calls)
{
    for (const sample_kind& kind : sample_kinds()) {
        calls.push_back(report("insert_ai_metadata/" + kind.name, kind.report));
        for (const sample_query& query : kind.queries) {
            calls.push_back(
                question<query_ai_metadata>("query_ai_metadata/" + query.name, query.request, query.reply));
        }
    }
    calls.push_back(report("insert_ai_metadata/refused", sample_kinds().front().report, R"({"ret":5})"));
    calls.push_back(question<query_ai_face_metadata_list_group>(
        "query_ai_face_metadata_list_group", sample_groups_request(), sample_groups_reply()));
    calls.push_back(newest("HumanDetection", sample_human_reply()));
    calls.push_back(newest("FaceRecognition", sample_face_reply()));
    calls.push_back(newest("ObjectDetection", sample_model_reply()));
    calls.push_back(swept(
        "get_IVA_vault_id", sample_vaults_reply(), text_and_buffer{},
        [](text_and_buffer& state) { return get_IVA_vault_id(state.buffer.data()); },
        [](const text_and_buffer& state) { return state.buffer; }));
    calls.push_back(swept(
        "delete_people_counting", done, std::string("1700000000000"),
        [](std::string& state) { return delete_people_counting(state.data()); },
        [](const std::string&) { return std::string(); }));
}

// ----------------------------------------------------------------------------------------- query handlers

/// A parsed request and the answer that a handler adds to. A copy is parsed anew: json-c makes texts of numbers when asked.
struct trees {
    explicit trees(std::string given)
        : text(std::move(given))
    {
    }
    trees(const trees& other)
        : trees(other.text)
    {
    }

    std::string text;
    json_owner request{json_tokener_parse(text.c_str())};
    json_owner answer{json_object_new_object()};
};

template <unsigned int (*function)(json_object*, json_object*&)>
swept_call handler(const sample_query& query)
{
    return swept(
        "handler/" + query.name, query.reply, trees(query.request),
        [](trees& state) {
            json_object* answer = state.answer.get();
            return static_cast<int>(function(state.request.get(), answer));
        },
        [](const trees& state) { return std::string(json_object_to_json_string(state.answer.get())); });
}

void add_handlers(std::vector<swept_call>& calls)
{
    const std::vector<sample_kind> kinds = sample_kinds();
    calls.push_back(handler<query_human_metadata>(kinds[0].queries[0]));
    calls.push_back(handler<query_face_metadata>(kinds[1].queries[0]));
    calls.push_back(handler<query_model_metadata>(kinds[2].queries[0]));
    calls.push_back(handler<query_people_counting_metadata>(kinds[3].queries[0]));
}

// ------------------------------------------------------------------------------------------------ codecs

template <class Record>
struct record_and_text {
    Record record;
    std::string text = "before";
};

template <class Record, int (*encode)(Record, std::string&)>
swept_call encoder(const std::string& name, const Record& record)
{
    return swept(
        name, done, record_and_text<Record>{record},
        [](auto& state) { return encode(std::move(state.record), state.text); },
        [](const auto& state) { return state.text; });
}

/// What a decoder or a query of the store's client fills.
template <class Record>
struct read_records {
    std::string text;
    std::vector<Record> records = std::vector<Record>(1);
    int ret = -7;
    long long total = -7;
    int over = -7;
};

/// The records alone: the numbers beside them may have been read before the memory was gone.
template <class Record>
std::string text_of(const read_records<Record>& read)
{
    std::string text;
    for (const Record& record : read.records) {
        text += describe(record) + '\n';
    }
    return text;
}

template <class Record, int (*decode)(std::string, std::vector<Record>&, int&, long long&, int&)>
swept_call decoder(const std::string& name, const std::string& reply)
{
    return swept(
        name, done, read_records<Record>{reply},
        [](auto& state) {
            return decode(std::move(state.text), state.records, state.ret, state.total, state.over);
        },
        [](const auto& state) { return text_of(state); });
}

void add_codecs(std::vector<swept_call>& calls)
{
    using human = human_detection_metadata_information;
    using face = face_recognition_metadata_information;
    using model = model_importer_metadata_information;
    using counts = people_counting_metadata_information;
    calls.push_back(encoder<human, trans_human_metadata_info_to_string>("encode/human", sample_human()));
    calls.push_back(encoder<face, trans_face_metadata_info_to_string>("encode/face", sample_face()));
    calls.push_back(encoder<model, trans_model_metadata_info_to_string>("encode/model", sample_model()));
    calls.push_back(
        encoder<counts, trans_people_counting_metadata_info_to_string>("encode/counts", sample_counts()));
    calls.push_back(swept(
        "encode/vault", done, record_and_text<vault_information>{sample_vault()},
        [](auto& state) { return trans_vault_info_to_string(state.record, state.text); },
        [](const auto& state) { return state.text; }));
    calls.push_back(
        decoder<human, trans_string_to_human_metadata_info>("decode/human", sample_human_reply()));
    calls.push_back(decoder<face, trans_string_to_face_metadata_info>("decode/face", sample_face_reply()));
    calls.push_back(
        decoder<model, trans_string_to_model_metadata_info>("decode/model", sample_model_reply()));
    calls.push_back(swept(
        "decode/face groups", done, read_records<face>{sample_groups_reply()},
        [](auto& state) {
            return trans_string_to_face_group_list_metadata_info(std::move(state.text), state.records,
                                                                 state.ret, state.total);
        },
        [](const auto& state) { return text_of(state); }));
    calls.push_back(swept(
        "decode/statistics", done, read_records<counts>{sample_statistics_reply()},
        [](auto& state) {
            return trans_string_to_people_counting_metadata_statistics(
                std::move(state.text), nullptr, nullptr, 3'600'000, sample_day, sample_day + 86'399'999,
                state.records, state.ret);
        },
        [](const auto& state) { return text_of(state); }));
    calls.push_back(swept(
        "decode/vaults", done, read_records<vault_information>{sample_vaults_reply()},
        [](auto& state) {
            return trans_string_to_vault_info(std::move(state.text), state.records, state.ret);
        },
        [](const auto& state) { return text_of(state); }));
}

// ---------------------------------------------------------------------------------- the store's client

template <class Record, int (ai_CDataBaseComm::*add)(Record&)>
swept_call addition(const std::string& name, const Record& sample)
{
    return swept(
        name, done, sample, [](Record& record) { return (ai_CDataBaseComm().*add)(record); },
        [](const Record&) { return std::string(); });
}

const std::vector<std::string> some_texts{"Ann", "Robert of the second floor, who left"};

void add_store_requests(std::vector<swept_call>& calls)
{
    using human = human_detection_metadata_information;
    using face = face_recognition_metadata_information;
    using model = model_importer_metadata_information;
    using counts = people_counting_metadata_information;
    using client = ai_CDataBaseComm;
    calls.push_back(addition<human, &client::add_human_metadata>("store/add_human_metadata", sample_human()));
    calls.push_back(addition<face, &client::add_face_metadata>("store/add_face_metadata", sample_face()));
    calls.push_back(addition<model, &client::add_model_metadata>("store/add_model_metadata", sample_model()));
    calls.push_back(addition<counts, &client::add_people_counting_metadata>(
        "store/add_people_counting_metadata", sample_counts()));
    calls.push_back(swept(
        "store/check_remove_face_metadata", done, 0,
        [](int) { return client().check_remove_face_metadata(500000); }, [](int) { return std::string(); }));
    calls.push_back(swept(
        "store/delete_people_counting", done, 0, [](int) { return client().delete_people_counting(5); },
        [](int) { return std::string(); }));
    calls.push_back(swept(
        "store/get_human_metadata", sample_human_reply(), read_records<human>{},
        [](auto& to) {
            return client().get_human_metadata(1, 0, 9, {}, 0, 9, {}, to.records, to.total, to.over);
        },
        [](const auto& to) { return text_of(to); }));
    calls.push_back(swept(
        "store/get_model_metadata", sample_model_reply(), read_records<model>{},
        [](auto& to) {
            return client().get_model_metadata(1, 0, 9, {}, nullptr, 0, 9, -1, -1, {}, to.records, to.total,
                                               to.over);
        },
        [](const auto& to) { return text_of(to); }));
    calls.push_back(swept(
        "store/get_face_metadata", sample_face_reply(), std::make_pair(some_texts, read_records<face>{}),
        [](auto& state) {
            auto& [texts, to] = state;
            return client().get_face_metadata(1, 0, 9, 0, texts, nullptr, 0, 9, texts, texts, texts, 0, 100,
                                              0, 9, {}, {}, 1, texts, to.records, to.total, to.over);
        },
        [](const auto& state) { return text_of(state.second); }));
    calls.push_back(swept(
        "store/get_face_metadata_group_list", sample_groups_reply(),
        std::make_pair(some_texts, read_records<face>{}),
        [](auto& state) {
            auto& [texts, to] = state;
            return client().get_face_metadata_group_list(texts, nullptr, 0, 9, texts, texts, texts, 0, 100, 0,
                                                         9, {}, {}, 1, texts, to.records, to.total);
        },
        [](const auto& state) { return text_of(state.second); }));
    calls.push_back(swept(
        "store/get_people_counting_metadata", sample_statistics_reply(), read_records<counts>{},
        [](auto& to) {
            char hour[] = "hour";
            return client().get_people_counting_metadata(hour, nullptr, 3'600'000, sample_day,
                                                         sample_day + 86'399'999, to.records, nullptr);
        },
        [](const auto& to) { return text_of(to); }));
    calls.push_back(swept(
        "store/get_vault", sample_vaults_reply(), read_records<vault_information>{},
        [](auto& to) { return client().get_vault(nullptr, to.records); },
        [](const auto& to) { return text_of(to); }));
    struct exchange {
        std::string head = "GET /a?b=c";
        std::string body;
        std::string reply = "before";
    };
    calls.push_back(swept(
        "send_RESTful_req", sample_human_reply(), exchange{},
        [](exchange& state) {
            return send_RESTful_req(10158, state.head.data(), state.body, state.reply, 5);
        },
        [](const exchange& state) { // on failure it holds what came
            return state.reply == sample_human_reply() ? state.reply : std::string("before");
        }));
}

// ----------------------------------------------------------------------------------------------- helpers

/// A tree that json-c has not yet been asked for any text of: it prints each number when it is.
struct new_tree {
    new_tree() = default;
    new_tree(const new_tree& /*other*/) {}

    json_owner tree{json_tokener_parse(
        R"({"x1":0.1,"y1":0.2,"x2":0.3,"y2":0.2,"x3":0.3,"y3":0.6,"x4":0.1,"y4":0.6,"timestamp":1700000000000,)"
        R"("list":["Ann","Robert of the second floor, who left",[1,2,3,4,5,6,7,8,9],"and a few more"]})")};
    std::vector<Tposition_xy> polygon;
    char text[256] = "";
    long long timestamp = 0;
};

void add_helpers(std::vector<swept_call>& calls)
{
    struct encoding {
        std::string value = std::string(40, '%');
        std::string encoded;
    };
    calls.push_back(swept(
        "url_encode", done, encoding{},
        [](encoding& state) {
            state.encoded = url_encode(state.value);
            return state.encoded.empty() ? as_int(result_bad_request) : 0;
        },
        [](const encoding& state) { return state.encoded; }));
    calls.push_back(swept(
        "trans_time_to_string", done,
        R"({ "timestamp" : 1700000000000, "a": ")" + std::string(99, 'a') + "\"}  ",
        [](std::string& text) { return trans_time_to_string(text.data()); },
        [](const std::string& text) { return std::string(text.c_str()); }));
    calls.push_back(swept(
        "set_xy_position", done, new_tree(),
        [](new_tree& state) {
            set_xy_position(state.tree.get(), state.polygon);
            return state.polygon.size() == 4 ? 0 : as_int(result_bad_request);
        },
        [](const new_tree& state) { // on failure it holds the corners read so far
            return state.polygon.size() == 4 ? field_text(state.polygon) : std::string();
        }));
    calls.push_back(swept(
        "get_json_string", done, new_tree(),
        [](new_tree& state) {
            get_json_string(state.tree.get(), "list", state.text);
            return state.text[0] != '\0' ? 0 : as_int(result_bad_request);
        },
        [](const new_tree& state) { return std::string(state.text); }));
    calls.push_back(swept(
        "get_json_timestamp", done, new_tree(),
        [](new_tree& state) {
            get_json_timestamp(state.tree.get(), &state.timestamp);
            return state.timestamp != 0 ? 0 : as_int(result_bad_request);
        },
        [](const new_tree& state) { return std::to_string(state.timestamp); }));
}

} // namespace

std::vector<swept_call> swept_calls()
{
    std::vector<swept_call> calls;
    add_entry_points(calls);
    add_handlers(calls);
    add_codecs(calls);
    add_store_requests(calls);
    add_helpers(calls);
    return calls;
}

} // namespace korvane::test
