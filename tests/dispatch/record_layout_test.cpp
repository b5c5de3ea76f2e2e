// The records' fields in memory, as the hosts that were built against an older header see them. The library
// asserts the same when it is compiled; here the table says it once more, from outside, so that nobody
// changes both unawares.
#include <korvane/metadata_records.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <vector>

namespace korvane::test {

namespace {

/// Measures one record: its fields in order, then its end. What lies between two fields must be too small for
/// another one.
template <class Record>
class ruler {
public:
    template <class Member>
    void field(const char* name, Member Record::*member, std::size_t offset, std::size_t size)
    {
        const auto* begin = reinterpret_cast<const char*>(&record_);
        const auto* at = reinterpret_cast<const char*>(&(record_.*member));
        EXPECT_EQ(static_cast<std::size_t>(at - begin), offset) << name;
        EXPECT_EQ(sizeof(Member), size) << name;
        EXPECT_LT(offset - end_, alignof(Member)) << "between " << name << " and the field before it";
        end_ = offset + size;
    }

    void ends_at(std::size_t size) const
    {
        EXPECT_EQ(sizeof(Record), size);
        EXPECT_LT(size - end_, alignof(Record)) << "behind the last field";
    }

private:
    Record record_;
    std::size_t end_ = 0;
};

constexpr std::size_t list_size = 24; ///< of a vector: three pointers

TEST(record_layout, of_a_vertex)
{
    using record = Tposition_xy;
    ruler<record> r;
    r.field("x", &record::x, 0, 33);
    r.field("y", &record::y, 33, 33);
    r.ends_at(66);
}

TEST(record_layout, of_a_human)
{
    using record = human_detection_metadata_information;
    ruler<record> r;
    r.field("app_id", &record::app_id, 0, 128);
    r.field("app_name", &record::app_name, 128, 64);
    r.field("model", &record::model, 192, 64);
    r.field("brand", &record::brand, 256, 128);
    r.field("timestamp", &record::timestamp, 384, 8);
    r.field("func_name", &record::func_name, 392, 128);
    r.field("version", &record::version, 520, 128);
    r.field("task_name", &record::task_name, 648, 64);
    r.field("description", &record::description, 712, 128);
    r.field("channel_sid", &record::channel_sid, 840, 33);
    r.field("stream_id", &record::stream_id, 876, 4);
    r.field("positions", &record::positions, 880, list_size);
    r.ends_at(880 + list_size);
}

TEST(record_layout, of_a_face)
{
    using record = face_recognition_metadata_information;
    ruler<record> r;
    r.field("app_id", &record::app_id, 0, 128);
    r.field("app_name", &record::app_name, 128, 64);
    r.field("model", &record::model, 192, 64);
    r.field("brand", &record::brand, 256, 128);
    r.field("provider_id", &record::provider_id, 384, 64);
    r.field("timestamp", &record::timestamp, 448, 8);
    r.field("func_name", &record::func_name, 456, 128);
    r.field("version", &record::version, 584, 128);
    r.field("task_name", &record::task_name, 712, 64);
    r.field("description", &record::description, 776, 512);
    r.field("channel_sid", &record::channel_sid, 1288, 33);
    r.field("stream_id", &record::stream_id, 1324, 4);
    r.field("status", &record::status, 1328, 32);
    r.field("person_id", &record::person_id, 1360, 128);
    r.field("stranger_id", &record::stranger_id, 1488, 128);
    r.field("person_key", &record::person_key, 1616, 512);
    r.field("person_name", &record::person_name, 2128, 256);
    r.field("group_name", &record::group_name, 2384, 256);
    r.field("gender", &record::gender, 2640, 24);
    r.field("confidence", &record::confidence, 2664, 8);
    r.field("age", &record::age, 2672, 8);
    r.field("registered", &record::registered, 2680, 1);
    r.field("resultId", &record::resultId, 2681, 64);
    r.field("positions", &record::positions, 2752, list_size);
    r.ends_at(2752 + list_size);
}

TEST(record_layout, of_an_object)
{
    using record = model_importer_metadata_information;
    ruler<record> r;
    r.field("app_id", &record::app_id, 0, 128);
    r.field("app_name", &record::app_name, 128, 64);
    r.field("model", &record::model, 192, 64);
    r.field("brand", &record::brand, 256, 128);
    r.field("timestamp", &record::timestamp, 384, 8);
    r.field("func_name", &record::func_name, 392, 128);
    r.field("version", &record::version, 520, 128);
    r.field("task_name", &record::task_name, 648, 64);
    r.field("description", &record::description, 712, 128);
    r.field("channel_sid", &record::channel_sid, 840, 33);
    r.field("stream_id", &record::stream_id, 876, 4);
    r.field("object_name", &record::object_name, 880, 128);
    r.field("confidence", &record::confidence, 1008, 8);
    r.field("positions", &record::positions, 1016, list_size);
    r.ends_at(1016 + list_size);
}

TEST(record_layout, of_counts)
{
    using record = people_counting_metadata_information;
    ruler<record> r;
    r.field("app_id", &record::app_id, 0, 128);
    r.field("app_name", &record::app_name, 128, 64);
    r.field("model", &record::model, 192, 64);
    r.field("brand", &record::brand, 256, 128);
    r.field("type", &record::type, 384, 32);
    r.field("timestamp", &record::timestamp, 416, 8);
    r.field("end_time", &record::end_time, 424, 8);
    r.field("func_name", &record::func_name, 432, 128);
    r.field("version", &record::version, 560, 128);
    r.field("task_name", &record::task_name, 688, 64);
    r.field("description", &record::description, 752, 128);
    r.field("channel_sid", &record::channel_sid, 880, 33);
    r.field("stream_id", &record::stream_id, 916, 4);
    r.field("people_count_in", &record::people_count_in, 920, 4);
    r.field("people_count_out", &record::people_count_out, 924, 4);
    r.field("positions", &record::positions, 928, list_size);
    r.ends_at(928 + list_size);
}

TEST(record_layout, of_a_vault)
{
    using record = vault_information;
    ruler<record> r;
    r.field("vault_id", &record::vault_id, 0, 256);
    r.field("vault_name", &record::vault_name, 256, 64);
    r.field("description", &record::description, 320, 128);
    r.field("index", &record::index, 448, 4);
    r.field("last_recv_time_str", &record::last_recv_time_str, 452, 16);
    r.ends_at(468);
}

} // namespace

} // namespace korvane::test
