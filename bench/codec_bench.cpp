// The human codec: encoding against the same text written by hand, decoding against json-c's parse alone.
#include "bench/fail.h"
#include "bench/hand_encoders.h"
#include "bench/pairs.h"
#include "bench/samples.h"
#include "codec/human.h"

#include <json-c/json.h>

#include <memory>

namespace korvane::bench {

namespace {

using person = human_detection_metadata_information;
using encoder = int (*)(person, std::string&);

struct hand_encoder {
    const char* name;
    encoder encode;
};

std::string text_of(encoder encode, const person& person)
{
    std::string text;
    encode(person, text);
    return text;
}

void add_encode(std::size_t vertices, const hand_encoder& rival)
{
    const auto encoding = [=](encoder encode) {
        return [encode, record = make_person(0, vertices), text = std::string()]() mutable {
            encode(record, text);
            benchmark::DoNotOptimize(text.data());
        };
    };
    const std::string work = "encode/vertices:" + std::to_string(vertices);
    const person record = make_person(0, vertices);
    require_same(work, text_of(rival.encode, record), text_of(trans_human_metadata_info_to_string, record));
    add_pair(work, rival.name, "record", 1, encoding(trans_human_metadata_info_to_string),
             encoding(rival.encode));
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
        require_same(work, text_of(encode_by_snprintf, expected), text_of(encode_by_snprintf, records[i]));
    }
}

void add_decode(std::size_t records)
{
    const std::string work = "decode/records:" + std::to_string(records);
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
    for (const hand_encoder& rival :
         {hand_encoder{"snprintf", encode_by_snprintf}, hand_encoder{"memcpy", encode_by_memcpy}}) {
        for (const std::size_t vertices : {0U, 4U, 100U}) {
            add_encode(vertices, rival);
        }
    }
    for (const std::size_t records : {10U, 100U, 1'000U, 10'000U}) {
        add_decode(records);
    }
    return run_pairs(argc, argv);
}
