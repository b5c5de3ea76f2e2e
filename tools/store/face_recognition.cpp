#include "face_recognition.h"

#include "refusal.h"

#include <charconv>
#include <cstdint>

namespace {

// The group list differs from the query in how it writes its lists, and has no partial matches.
std::vector<filter> face_filters(std::vector<filter> person_filters)
{
    std::vector<filter> filters = with_common_filters({
        {"gender", text_value, "gender = ?"},
        {"provider_id", quoted_list_value, "provider_id IN (SELECT value FROM json_each(?))"},
        {"start_confidence", bound_value, "confidence >= ?"},
        {"end_confidence", bound_value, "confidence BETWEEN 0 AND ?"}, // below 0 stands for not known
        {"age", integer_list_value, "age IN (SELECT value FROM json_each(?))"},
        {"start_age", bound_value, "age >= ?"},
        {"end_age", bound_value, "age BETWEEN 0 AND ?"},
        {"registered", boolean_value, "(registered IS TRUE) = ?"},
        {"resultId", quoted_list_value, "resultId IN (SELECT value FROM json_each(?))"},
    });
    filters.insert(filters.end(), person_filters.begin(), person_filters.end());
    return filters;
}

std::int64_t read_threshold(const std::string& body)
{
    const json_owner object = parse_json_object(body);
    json_object* value = nullptr;
    json_object_object_get_ex(object.get(), "threshold", &value);
    const std::string text = value == nullptr ? "" : json_object_get_string(value);
    std::int64_t threshold = -1;
    const auto [stop, error] = std::from_chars(text.data(), text.data() + text.size(), threshold);
    if (error != std::errc() || stop != text.data() + text.size() || threshold < 0)
        throw refusal(ret_code::bad_member,
                      "member \"threshold\" is " + quoted(text) + ", expected a whole number, 0 or more");
    return threshold;
}

detection_kind make_kind()
{
    return {
        {"face_recognition",
         with_header(511,
                     {
                         {"provider_id", member_type::text, 63, kept::as_column},
                         {"status", member_type::text, 31, kept::in_record},
                         {"person_id", member_type::text, 127, kept::in_record},
                         {"stranger_id", member_type::text, 127, kept::in_record},
                         {"person_key", member_type::text, 511, kept::as_column},
                         {"person_name", member_type::text, 255, kept::as_column},
                         {"group_name", member_type::text, 255, kept::in_record},
                         {"gender", member_type::text, 23, kept::as_column},
                         {"age", member_type::number, 0, kept::as_column},
                         {"confidence", member_type::number, 0, kept::as_column},
                         {"registered", member_type::boolean, 0, kept::as_column},
                         {"resultId", member_type::text, 63, kept::as_column},
                     }),
         read_closed_ring},
        face_filters({
            {"person_name", tab_list_value, "person_name IN (SELECT value FROM json_each(?))",
             "EXISTS (SELECT 1 FROM json_each(?) WHERE instr(person_name, value) > 0)"},
            {"person_key", tab_list_value, "person_key IN (SELECT value FROM json_each(?))",
             "EXISTS (SELECT 1 FROM json_each(?) WHERE instr(person_key, value) > 0)"},
        }),
    };
}

} // namespace

const detection_kind& face_recognition()
{
    static const detection_kind kind = make_kind();
    return kind;
}

std::string query_face_groups(database& db, const std::string& raw_query)
{
    static const std::vector<filter> filters = face_filters({
        {"person_name", bar_list_value, "person_name IN (SELECT value FROM json_each(?))"},
        {"person_key", encoded_quoted_list_value, "person_key IN (SELECT value FROM json_each(?))"},
    });
    const std::string_view table = face_recognition().record.table;
    const row_choice choice =
        read_choice(table, filters, query_parameters(raw_query, known_parameters(filters, {})));
    result_rows rows = db.query("SELECT person_name FROM " + std::string(table) + " WHERE " + choice.sql +
                                    " AND person_name <> '' GROUP BY person_name"
                                    " ORDER BY MAX(timestamp) DESC, MAX(id) DESC",
                                choice.values);
    std::int64_t count = 0;
    std::string names;
    for (; rows.next(); ++count)
        names += (count == 0 ? "" : ",") + json_quoted(rows.text(0));
    return R"({"ret":0,"totalItems":)" + std::to_string(count) + R"(,"datas":[)" + names + "]}";
}

std::string check_face_threshold(database& db, const detection_table& faces, const std::string& body)
{
    const std::int64_t threshold = read_threshold(body);
    const std::int64_t held = faces.count();
    std::int64_t removed = 0;
    if (held > threshold) { // the usual case, after each face, ends here without looking at any face
        transaction change(db);
        removed = db.change("DELETE FROM face_recognition WHERE id IN"
                            " (SELECT id FROM face_recognition ORDER BY timestamp, id LIMIT ?)",
                            {held - threshold});
        change.commit();
    }
    return R"({"ret":0,"removed":)" + std::to_string(removed) + "}";
}
