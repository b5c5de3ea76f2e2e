// The records' fields in memory, as the hosts that were built against an older header see them. The library
// asserts the same when it is compiled; here the table says it once more, from outside, so that nobody
// changes both unawares.
#include <korvane/metadata_records.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <vector>

namespace korvane::test {

namespace {

struct field {
    const char* name;
    std::size_t offset;
    std::size_t size;
};

bool operator==(const field& a, const field& b)
{
    return std::string(a.name) == b.name && a.offset == b.offset && a.size == b.size;
}

std::ostream& operator<<(std::ostream& out, const field& f)
{
    return out << f.name << " at " << f.offset << ", " << f.size << " bytes";
}

/// Measures fields of one record.
template <class Record>
class ruler {
public:
    template <class Member>
    field measure(const char* name, Member Record::*member) const
    {
        const auto* begin = reinterpret_cast<const char*>(&record_);
        const auto* at = reinterpret_cast<const char*>(&(record_.*member));
        return {name, static_cast<std::size_t>(at - begin), sizeof(Member)};
    }

private:
    Record record_;
};

constexpr std::size_t list_size = sizeof(std::vector<Tposition_xy>);

TEST(record_layout, of_a_vertex)
{
    using record = Tposition_xy;
    const ruler<record> r;
    const std::vector<field> fields{r.measure("x", &record::x), r.measure("y", &record::y)};
    EXPECT_EQ(fields, (std::vector<field>{{"x", 0, 33}, {"y", 33, 33}}));
    EXPECT_EQ(sizeof(record), 66U);
}

TEST(record_layout, of_a_human)
{
    using record = human_detection_metadata_information;
    const ruler<record> r;
    const std::vector<field> fields{
        r.measure("app_id", &record::app_id),
        r.measure("app_name", &record::app_name),
        r.measure("model", &record::model),
        r.measure("brand", &record::brand),
        r.measure("timestamp", &record::timestamp),
        r.measure("func_name", &record::func_name),
        r.measure("version", &record::version),
        r.measure("task_name", &record::task_name),
        r.measure("description", &record::description),
        r.measure("channel_sid", &record::channel_sid),
        r.measure("stream_id", &record::stream_id),
        r.measure("positions", &record::positions),
    };
    const std::vector<field> expected{
        {"app_id", 0, 128},       {"app_name", 128, 64},  {"model", 192, 64},
        {"brand", 256, 128},      {"timestamp", 384, 8},  {"func_name", 392, 128},
        {"version", 520, 128},    {"task_name", 648, 64}, {"description", 712, 128},
        {"channel_sid", 840, 33}, {"stream_id", 876, 4},  {"positions", 880, list_size},
    };
    EXPECT_EQ(fields, expected);
    EXPECT_EQ(sizeof(record), 880 + list_size);
}

} // namespace

} // namespace korvane::test
