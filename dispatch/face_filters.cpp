#include "dispatch/face_filters.h"

#include "dispatch/refused_text.h"
#include "util/result.h"

namespace korvane {

namespace {

bool is_percentage(int value)
{
    return value >= 0 && value <= 100;
}

std::vector<int> read_ages(json_object* filters)
{
    std::vector<int> ages;
    for (json_object* age : json_elements(json_member(filters, "age"))) {
        ages.push_back(json_object_get_int(age));
    }
    return ages;
}

} // namespace

int read_face_filters(json_object* filters, const query_log& log, face_filters& asked)
{
    asked.channels = read_channels(filters, log);
    asked.times = read_time_range(filters);
    asked.area = read_area(filters);
    asked.ages = read_ages(filters);
    if (json_object* gender = json_member(filters, "gender")) {
        refuse_if_long copy;
        copy(asked.gender, json_text(gender), "gender");
        if (copy.refused()) {
            return refused_text(log.function, __LINE__, copy);
        }
        asked.has_gender = true;
    }
    asked.person_names = read_texts(filters, "person_name");
    asked.person_keys = read_texts(filters, "person_key");
    asked.start_confidence =
        read_confidence_bound(filters, log, bound::start, asked.start_confidence, is_percentage);
    asked.end_confidence =
        read_confidence_bound(filters, log, bound::end, asked.end_confidence, is_percentage);
    asked.registered = json_int_member(filters, "registered", asked.registered);
    asked.result_ids = read_texts(filters, "resultId");
    asked.provider_ids = read_texts(filters, "provider_id");
    return as_int(result_ok);
}

} // namespace korvane
