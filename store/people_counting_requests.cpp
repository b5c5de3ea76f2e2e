#include "codec/people_counting.h"
#include "store/ai_CDataBaseComm.h"
#include "store/record_requests.h"
#include "store/store_exchange.h"
#include "util/guarded.h"

#include <utility>

namespace {

constexpr const char* path = "/third_party/people_counting";

} // namespace

int korvane::store_people_counting(const people_counting_metadata_information& record, json_owner spent)
{
    return post_record("add_people_counting_metadata", path, record, write_people_counting, std::move(spent));
}

int ai_CDataBaseComm::add_people_counting_metadata(people_counting_metadata_information& record)
{
    return korvane::store_people_counting(record, nullptr);
}

int ai_CDataBaseComm::get_people_counting_metadata(char* query_type, char* channel_sid,
                                                   unsigned long long interval, unsigned long long start,
                                                   unsigned long long end,
                                                   std::vector<people_counting_metadata_information>& rows,
                                                   char* /*reserved*/)
{
    if (query_type == nullptr) {
        return korvane::as_int(korvane::result_null_request);
    }
    return korvane::guarded(__func__, [&] {
        korvane::request_line line("GET", path);
        line.text("query_type", query_type);
        line.number("interval", interval);
        line.number("timestamp", start);
        line.number("end_time", end);
        if (channel_sid) {
            line.text("channel_sid", channel_sid);
        }

        korvane::query_reply reply = korvane::query_store(line);
        if (!reply.body.empty()) {
            korvane::read_statistics(reply.body, channel_sid != nullptr, interval, start, end, rows,
                                     reply.result);
        }
        return reply.result;
    });
}

int ai_CDataBaseComm::delete_people_counting(unsigned long long cutoff)
{
    return korvane::guarded(__func__, [&] {
        korvane::request_line line("DELETE", path);
        line.number("timestamp", static_cast<long long>(cutoff));
        return korvane::tell_store(line);
    });
}
