#include "codec/model.h"
#include "store/ai_CDataBaseComm.h"
#include "store/record_requests.h"
#include "store/store_exchange.h"
#include "util/guarded.h"

#include <utility>

namespace {

constexpr const char* path = "/third_party/model_importer";

} // namespace

int korvane::store_model(const model_importer_metadata_information& record, json_owner spent)
{
    return post_record("add_model_metadata", path, record, write_model, std::move(spent));
}

int ai_CDataBaseComm::add_model_metadata(model_importer_metadata_information& record)
{
    return korvane::store_model(record, nullptr);
}

// The lists by value, as the interface has them.
// NOLINTBEGIN(performance-unnecessary-value-param)
int ai_CDataBaseComm::get_model_metadata(int sort_dir, int skip, int limit, std::vector<std::string> channels,
                                         char* object_name, unsigned long long start_time,
                                         unsigned long long end_time, int start_confidence,
                                         int end_confidence, std::vector<Tposition_xy> polygon,
                                         std::vector<model_importer_metadata_information>& records,
                                         long long& total, int& over)
// NOLINTEND(performance-unnecessary-value-param)
{
    return korvane::guarded(__func__, [&] {
        constexpr int no_confidence = -1; // -2 for faces
        korvane::request_line line("GET", path);
        line.area(polygon);
        line.quoted_list("channel_sid", channels);
        if (object_name) {
            line.text("object_name", object_name);
        }
        line.range_unless(no_confidence, "confidence", start_confidence, end_confidence);
        line.times(start_time, end_time);
        line.paging(sort_dir, skip, limit);

        const korvane::query_reply reply = korvane::query_store(line);
        if (!reply.body.empty()) {
            int ret = 0; // tells an empty result apart; it does not become ours
            korvane::read_models(reply.body, records, ret, total, over);
        }
        return reply.result;
    });
}
