// The record codecs: encoding against the same text written by hand, decoding against json-c's parse alone.
#include "bench/fail.h"
#include "bench/hand_encoders.h"
#include "bench/pairs.h"
#include "bench/samples.h"
#include "codec/face.h"
#include "codec/human.h"

#include <json-c/json.h>

#include <memory>

namespace korvane::bench {

namespace {

using person = human_detection_metadata_information;

template <class Record>
std::string text_of(int (*encode)(Record, std::string&), const Record& record)
{
    std::string text;
    encode(record, text);
    return text;
}

/// Registers an encoder of the library against one written by hand.
template <class Record>
void add_encode(const std::string& kind, const Record& record, int (*encode)(Record, std::string&),
                const std::string& rival_name, int (*rival)(Record, std::string&))
{
    const auto encoding = [&record](int (*encode_record)(Record, std::string&)) {
        return [record, encode_record, text = std::string()]() mutable {
            encode_record(record, text);
            benchmark::DoNotOptimize(text.data());
        };
    };
    const std::string work = "encode " + kind + "/vertices:" + std::to_string(record.positions.size());
    require_same(work, text_of(rival, record), text_of(encode, record));
    add_pair(work, rival_name, "record", 1, encoding(encode), encoding(rival));
}

std::vector<person> decode(const std::string& reply)
{
    std::vector<person> records;
    int ret = -1;
    long long total = 0;
    int over = 0;
    trans_string_to_human_metadata_info(reply, records, ret, total, over);
    return records;
}

/// Fails unless the reply's records are the samples that it was made of.
void require_decoded(const std::string& work, const std::string& reply, std::size_t count)
{
    const std::vector<person> records = decode(reply);
    if (records.size() != count) {
        fail(work + ": the library read " + std::to_string(records.size()) + " records");
    }
    for (std::size_t i = 0; i < count; ++i) {
        person expected = make_person(i, 4);
        expected.func_name[0] = '\0'; // not read back
        require_same(work, text_of(snprintf_person, expected), text_of(snprintf_person, records[i]));
    }
}

void add_decode(std::size_t records)
{
    const std::string work = "decode person/records:" + std::to_string(records);
    const auto reply = std::make_shared<const std::string>(make_reply(records));
    require_decoded(work, *reply, records);
    add_pair(
        work, "json-c parse", "record", records, [reply] { benchmark::DoNotOptimize(decode(*reply).data()); },
        [reply] {
            json_object* tree = json_tokener_parse(reply->c_str());
            benchmark::DoNotOptimize(tree);
            json_object_put(tree);
        });
}

} // namespace

} // namespace korvane::bench

int main(int argc, char** argv)
{
    using namespace korvane::bench;
    for (const std::size_t vertices : {0U, 4U, 100U}) {
        const auto person = make_person(0, vertices);
        add_encode("person", person, trans_human_metadata_info_to_string, "snprintf", snprintf_person);
        add_encode("person", person, trans_human_metadata_info_to_string, "memcpy", memcpy_person);
    }
    for (const std::size_t vertices : {0U, 4U, 100U}) {
        const auto face = make_face(vertices);
        add_encode("face", face, trans_face_metadata_info_to_string, "snprintf", snprintf_face);
        add_encode("face", face, trans_face_metadata_info_to_string, "memcpy", memcpy_face);
    }
    for (const std::size_t records : {10U, 100U, 1'000U, 10'000U}) {
        add_decode(records);
    }
    run_pairs(argc, argv);
}
