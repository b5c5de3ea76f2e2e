#include "codec/human.h"
#include "store/ai_CDataBaseComm.h"
#include "store/record_requests.h"
#include "store/store_exchange.h"
#include "util/guarded.h"

#include <utility>

namespace {

constexpr const char* path = "/third_party/human_detect";

} // namespace

int korvane::store_human(const human_detection_metadata_information& record, json_owner spent)
{
    return post_record("add_human_metadata", path, record, write_human, std::move(spent));
}

int ai_CDataBaseComm::add_human_metadata(human_detection_metadata_information& record)
{
    return korvane::store_human(record, nullptr);
}

// The lists by value, as the interface has them.
// NOLINTBEGIN(performance-unnecessary-value-param)
int ai_CDataBaseComm::get_human_metadata(int sort_dir, int skip, int limit, std::vector<std::string> channels,
                                         unsigned long long start_time, unsigned long long end_time,
                                         std::vector<Tposition_xy> polygon,
                                         std::vector<human_detection_metadata_information>& records,
                                         long long& total, int& over)
// NOLINTEND(performance-unnecessary-value-param)
{
    return korvane::guarded(__func__, [&] {
        korvane::request_line line("GET", path);
        line.area(polygon);
        line.quoted_list("channel_sid", channels);
        line.times(start_time, end_time);
        line.paging(sort_dir, skip, limit);

        const korvane::query_reply reply = korvane::query_store(line);
        if (!reply.body.empty()) {
            int ret = 0; // tells an empty result apart; it does not become ours
            korvane::read_humans(reply.body, records, ret, total, over);
        }
        return reply.result;
    });
}
