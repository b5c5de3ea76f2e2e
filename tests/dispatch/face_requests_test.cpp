// The metadata store's client called directly, for what the face handlers never pass on to it.
#include "store/ai_CDataBaseComm.h"

#include "tests/dispatch/calls.h"
#include "tests/dispatch/client_requests.h"
#include "tests/support/debug_log.h"
#include "tests/support/sandbox_test.h"
#include "tests/support/scripted_store.h"

#include <korvane/ai_metadata.h>

#include <climits>
#include <cstring>
#include <functional>

namespace korvane::test {

namespace {

using record = face_recognition_metadata_information;
using texts = std::vector<std::string>;

const std::string two_rows =
    R"({"ret":0,"totalCounts":57,"overThreshold":1,"datas":[{"app_id":"a"},{"app_id":"b"}]})";

/// The arguments of both requests, without a filter, and the outputs filled so that a change shows.
struct request {
    int sort_dir = -1;
    int skip = 0;
    int limit = 10;
    int partial_query = -1;
    texts channels;
    char* gender = nullptr;
    unsigned long long start_time = 0;
    unsigned long long end_time = 5;
    texts person_names;
    texts person_keys;
    texts provider_ids;
    int start_confidence = -2;
    int end_confidence = -2;
    int start_age;
    int end_age;
    std::vector<int> ages;
    std::vector<Tposition_xy> area;
    int registered = -1;
    texts result_ids;
    std::vector<record> records{1};
    long long total = 22;
    int over = 33;

    explicit request(int no_age)
        : start_age(no_age)
        , end_age(no_age)
    {
    }

    bool untouched() const { return records.size() == 1 && total == 22 && over == 33; }
};

struct query_request : request {
    query_request()
        : request(-1)
    {
    }

    int send()
    {
        return ai_CDataBaseComm().get_face_metadata(
            sort_dir, skip, limit, partial_query, channels, gender, start_time, end_time, person_names,
            person_keys, provider_ids, start_confidence, end_confidence, start_age, end_age, ages, area,
            registered, result_ids, records, total, over);
    }
};

struct group_request : request {
    group_request()
        : request(-2)
    {
    }

    int send()
    {
        return ai_CDataBaseComm().get_face_metadata_group_list(
            channels, gender, start_time, end_time, person_names, person_keys, provider_ids, start_confidence,
            end_confidence, start_age, end_age, ages, area, registered, result_ids, records, total);
    }
};

class face_requests : public sandbox_test {
protected:
    std::string last_line() { return line_of(store_.requests().back()); }

    /// The query's line without the path and what it always ends in.
    std::string pieces_of_query(query_request asked)
    {
        EXPECT_EQ(asked.send(), 0);
        return pieces("GET /third_party/face_recognition?",
                      "start_time=0&end_time=5&sort_dir=-1&skip=0&limit=10");
    }

    std::string pieces_of_groups(group_request asked)
    {
        EXPECT_EQ(asked.send(), 0);
        return pieces("GET /third_party/face_group_list?", "start_time=0&end_time=5");
    }

    scripted_store store_;

private:
    std::string pieces(const std::string& begin, const std::string& end)
    {
        const std::string line = last_line();
        const bool framed = line.size() >= begin.size() + end.size() && line.rfind(begin, 0) == 0 &&
                            line.compare(line.size() - end.size(), end.size(), end) == 0;
        return framed ? line.substr(begin.size(), line.size() - begin.size() - end.size()) : line;
    }
};

TEST_F(face_requests, send_nothing_for_filters_that_are_absent)
{
    EXPECT_EQ(pieces_of_query({}), "");
    EXPECT_EQ(pieces_of_groups({}), "");
}

TEST_F(face_requests, send_numbers_as_they_are_but_a_direction_of_0)
{
    const struct {
        int sort_dir;
        int skip;
        int limit;
        unsigned long long start_time;
        unsigned long long end_time;
        const char* times;
        const char* paging;
    } cases[] = {
        {0, 0, 0, 0, 0, "start_time=0&end_time=0", "&sort_dir=-1&skip=0&limit=0"},
        {1, 2, 3, 4, 5, "start_time=4&end_time=5", "&sort_dir=1&skip=2&limit=3"},
        {7, INT_MAX, INT_MIN, ULLONG_MAX, ULLONG_MAX,
         "start_time=18446744073709551615&end_time=18446744073709551615",
         "&sort_dir=7&skip=2147483647&limit=-2147483648"},
    };
    for (const auto& c : cases) {
        query_request asked;
        asked.sort_dir = c.sort_dir;
        asked.skip = c.skip;
        asked.limit = c.limit;
        asked.start_time = c.start_time;
        asked.end_time = c.end_time;
        EXPECT_EQ(asked.send(), 0);
        EXPECT_EQ(last_line(), std::string("GET /third_party/face_recognition?") + c.times + c.paging);
        group_request persons;
        persons.start_time = c.start_time;
        persons.end_time = c.end_time;
        EXPECT_EQ(persons.send(), 0);
        EXPECT_EQ(last_line(), std::string("GET /third_party/face_group_list?") + c.times);
    }
}

TEST_F(face_requests, differ_in_their_lists_and_in_the_age_that_stands_for_none)
{
    const struct {
        std::function<void(request&)> change;
        std::string query;
        std::string groups;
    } cases[] = {
        {[](request& r) {
             r.person_names = {"A B", "C"};
         },
         "person_name=A%20B%09C%09&", "person_name=A%20B|C&"},
        {[](request& r) { r.person_names = {""}; }, "person_name=%09&", "person_name=&"},
        {[](request& r) { r.person_names = {std::string("A\0B", 3)}; }, "person_name=A%00B%09&",
         "person_name=A%00B&"},
        {[](request& r) {
             r.person_keys = {"k/1", "k 2"};
         },
         "person_key=k%2F1%09k%202%09&", "person_key=[\"k%2F1\",\"k%202\"]&"},
        {[](request& r) { r.start_age = r.end_age = -1; }, "", "start_age=-1&end_age=-1&"},
        {[](request& r) { r.start_age = r.end_age = -2; }, "start_age=-2&end_age=-2&", ""},
        {[](request& r) { r.start_age = r.end_age = INT_MIN; }, "start_age=-2147483648&end_age=-2147483648&",
         "start_age=-2147483648&end_age=-2147483648&"},
        {[](request& r) { r.partial_query = 1; }, "partial_query=true&", ""},
        {[](request& r) { r.partial_query = 2; }, "", ""},
        // What they have alike.
        {[](request& r) { r.start_confidence = r.end_confidence = -1; },
         "start_confidence=-1&end_confidence=-1&", "start_confidence=-1&end_confidence=-1&"},
        {[](request& r) { r.start_confidence = 5; }, "", ""},
        {[](request& r) { r.registered = 0; }, "registered=false&", "registered=false&"},
        {[](request& r) { r.registered = 7; }, "", ""},
        {[](request& r) {
             r.ages = {INT_MAX, INT_MIN};
         },
         "age=[2147483647,-2147483648]&", "age=[2147483647,-2147483648]&"},
        {[](request& r) {
             r.channels = {"", "b c\"d"};
         },
         "channel_sid=[\"\",\"b c\"d\"]&", "channel_sid=[\"\",\"b c\"d\"]&"},
        {[](request& r) { r.area = corners(5); }, "x1=1&y1=a&x2=2&y2=b&x3=3&y3=c&x4=4&y4=d&",
         "x1=1&y1=a&x2=2&y2=b&x3=3&y3=c&x4=4&y4=d&"},
    };
    for (const auto& c : cases) {
        query_request query;
        group_request groups;
        // The two age sentinels stand as each request has them unless the case changes them.
        c.change(query);
        c.change(groups);
        EXPECT_EQ(pieces_of_query(query), c.query);
        EXPECT_EQ(pieces_of_groups(groups), c.groups);
    }
}

TEST_F(face_requests, send_a_gender_of_any_length)
{
    for (std::string gender : {std::string(), std::string("f"), std::string(300, 'g')}) {
        query_request query;
        query.gender = gender.data();
        EXPECT_EQ(pieces_of_query(query), "gender=" + gender + "&");
        group_request groups;
        groups.gender = gender.data();
        EXPECT_EQ(pieces_of_groups(groups), "gender=" + gender + "&");
    }
}

TEST_F(face_requests, read_a_full_coordinate_to_its_end_and_no_further)
{
    query_request asked;
    asked.area = corners(4);
    std::memset(asked.area[3].y, '7', sizeof asked.area[3].y);
    EXPECT_EQ(pieces_of_query(asked), "x1=1&y1=a&x2=2&y2=b&x3=3&y3=c&x4=4&y4=" + std::string(33, '7') + "&");
}

/// Both requests with the same change must be refused before anything is sent, and say why.
template <class Change>
void expect_refused(const Change& change, const char* reason)
{
    clear_debug_log();
    query_request query;
    change(query);
    EXPECT_EQ(query.send(), code(result_bad_request)) << reason;
    EXPECT_TRUE(query.untouched()) << reason;
    group_request groups;
    change(groups);
    EXPECT_EQ(groups.send(), code(result_bad_request)) << reason;
    EXPECT_TRUE(groups.untouched()) << reason;
    EXPECT_EQ(debug_log_texts(), texts(2, not_sent + reason));
}

TEST_F(face_requests, are_refused_when_they_cannot_be_sent)
{
    const char* control_character = "a value holds a control character";
    std::string gender = "f\r\nHost: x";
    expect_refused([&](request& r) { r.gender = gender.data(); }, control_character);
    for (const int count : {1, 2, 3}) {
        expect_refused([&](request& r) { r.area = corners(count); }, "an area needs four corners");
    }
    for (const char control : {'\n', '\r', '\t', '\x01', '\x1f', '\x7f', '\0'}) {
        const std::string value = std::string("a") + control + "b";
        expect_refused([&](request& r) { r.channels = {"good", value}; }, control_character);
        expect_refused([&](request& r) { r.provider_ids = {value}; }, control_character);
        expect_refused([&](request& r) { r.result_ids = {value}; }, control_character);
    }
    const char* too_long = "it is too long";
    expect_refused([](request& r) { r.person_names = {std::string(9000, 'n')}; }, too_long);
    expect_refused([](request& r) { r.person_keys = {std::string(3000, ' ')}; }, too_long); // encoded
    expect_refused([](request& r) { r.ages.assign(5000, 1); }, too_long);
    expect_refused([](request& r) { r.result_ids.assign(5000, ""); }, too_long);
    const auto not_encodable = [](request& r) { r.person_names = {std::string(9'000'000, '/')}; };
    expect_refused(not_encodable, "a value cannot be percent-encoded");
    EXPECT_EQ(store_.requests(), texts());
}

TEST_F(face_requests, that_cannot_be_sent_for_several_reasons_tell_the_first)
{
    const auto all = [](request& r) {
        r.area = corners(2);
        r.channels = {"\n"};
        r.person_names = {std::string(9'000'000, '/')};
        r.result_ids = {std::string(9000, 'r')};
    };
    expect_refused(all, "an area needs four corners");
    const auto from_channels_on = [&](request& r) {
        all(r);
        r.area.clear();
    };
    expect_refused(from_channels_on, "a value holds a control character");
    const auto from_names_on = [&](request& r) {
        from_channels_on(r);
        r.channels.clear();
    };
    expect_refused(from_names_on, "a value cannot be percent-encoded");
}

/// Sends the request with the longest value that its line has room for, and then with one letter more.
template <class Request, class Change>
void expect_limit(scripted_store& store, const std::string& before, const std::string& after,
                  const Change& change)
{
    const std::string value(8191 - before.size() - after.size(), 'n');
    Request fits;
    change(fits, value);
    EXPECT_EQ(fits.send(), 0) << before;
    const texts sent = store.requests();
    EXPECT_EQ(line_of(sent.back()), before + value + after);

    clear_debug_log();
    Request over;
    change(over, value + 'n');
    EXPECT_EQ(over.send(), code(result_bad_request)) << before;
    EXPECT_TRUE(over.untouched()) << before;
    EXPECT_EQ(store.requests().size(), sent.size()) << before;
    EXPECT_EQ(debug_log_texts(), texts{not_sent + "it is too long"}) << before;
}

TEST_F(face_requests, fill_lines_of_8191_characters)
{
    const auto name = [](request& r, const std::string& value) { r.person_names = {value}; };
    const auto key = [](request& r, const std::string& value) { r.person_keys = {value}; };
    const auto result = [](request& r, const std::string& value) { r.result_ids = {value}; };
    const std::string query = "GET /third_party/face_recognition?";
    const std::string paging = "start_time=0&end_time=5&sort_dir=-1&skip=0&limit=10";
    expect_limit<query_request>(store_, query + "person_name=", "%09&" + paging, name);
    expect_limit<query_request>(store_, query + "person_key=", "%09&" + paging, key);
    expect_limit<query_request>(store_, query + "resultId=[\"", "\"]&" + paging, result);
    const std::string groups = "GET /third_party/face_group_list?";
    const std::string times = "start_time=0&end_time=5";
    expect_limit<group_request>(store_, groups + "person_name=", "&" + times, name);
    expect_limit<group_request>(store_, groups + "person_key=[\"", "\"]&" + times, key);
    expect_limit<group_request>(store_, groups + "resultId=[\"", "\"]&" + times, result);
}

TEST_F(face_requests, leave_the_outputs_as_they_were_without_a_reply_body)
{
    const scripted_reply replies[] = {
        json_reply(""),
        http_reply(500, two_rows),
        raw_reply(""),
        raw_reply("HTTP/1.1 200 OK\r\n\r\n" + two_rows),
        raw_reply("HTTP/1.1 200 OK\r\nContent-Length: 99\r\n\r\n"),
        reset_unread(),
    };
    for (const scripted_reply& reply : replies) {
        store_.reply_with(reply);
        store_.reply_with(reply);
        query_request query;
        EXPECT_EQ(query.send(), -1) << reply.bytes;
        EXPECT_TRUE(query.untouched()) << reply.bytes;
        group_request groups;
        EXPECT_EQ(groups.send(), -1) << reply.bytes;
        EXPECT_TRUE(groups.untouched()) << reply.bytes;
    }
}

TEST_F(face_requests, append_the_records_and_return_the_replys_ret)
{
    const struct {
        scripted_reply reply;
        int result;
    } cases[] = {
        {json_reply(two_rows), 0},
        {in_pieces(json_reply(two_rows), 7), 0},
        // The reply's own "ret" counts for more than the connection's end.
        {raw_reply("HTTP/1.1 200 OK\r\nContent-Length: 999\r\n\r\n" + two_rows), 0},
        {raw_reply("HTTP/1.1 200 OK\r\nContent-Length: 999\r\n\r\n{" +
                   two_rows.substr(two_rows.find(',') + 1)),
         -5},
        {json_reply("{\"ret\":5" + two_rows.substr(two_rows.find(','))), 5},
    };
    for (const auto& c : cases) {
        store_.reply_with(c.reply);
        query_request asked;
        EXPECT_EQ(asked.send(), c.result) << c.reply.bytes;
        EXPECT_EQ(asked.total, 57);
        EXPECT_EQ(asked.over, 1);
        ASSERT_EQ(asked.records.size(), 3U);
        EXPECT_STREQ(asked.records[1].app_id, "a");
        EXPECT_STREQ(asked.records[2].app_id, "b");
    }
}

TEST_F(face_requests, append_the_names_and_return_the_replys_ret)
{
    const struct {
        const char* reply;
        int result;
    } cases[] = {
        {R"({"ret":0,"totalItems":1,"datas":["Ann"]})", 0},
        {R"({"ret":5,"totalItems":1,"datas":["Ann"]})", 5},
        {R"({"totalItems":1,"datas":["Ann"]})", 0},
    };
    for (const auto& c : cases) {
        store_.reply_with(json_reply(c.reply));
        group_request asked;
        EXPECT_EQ(asked.send(), c.result);
        EXPECT_EQ(asked.total, 1);
        ASSERT_EQ(asked.records.size(), 2U);
        EXPECT_STREQ(asked.records[1].person_name, "Ann");
    }
}

TEST_F(face_requests, have_nothing_when_the_store_says_so)
{
    store_.reply_with(json_reply(R"({"ret":-101,"totalCounts":1,"datas":[{}]})"));
    query_request query;
    EXPECT_EQ(query.send(), -101);
    EXPECT_TRUE(query.untouched());
    store_.reply_with(json_reply(R"({"ret":-101,"totalItems":1,"datas":["Ann"]})"));
    group_request groups;
    EXPECT_EQ(groups.send(), -101);
    EXPECT_TRUE(groups.untouched());
}

TEST_F(face_requests, store_a_record_and_leave_it_as_it_was)
{
    record stored;
    std::strcpy(stored.channel_sid, "door");
    stored.positions = corners(2);
    EXPECT_EQ(ai_CDataBaseComm().add_face_metadata(stored), 0);
    const texts requests = store_.requests();
    ASSERT_EQ(requests.size(), 1U); // the threshold is the handler's matter
    EXPECT_EQ(line_of(requests.back()), "POST /third_party/face_recognition");
    EXPECT_EQ(body_of(requests.back()), R"({"channel_sid":"door","registered":false,)"
                                        R"("loc":{"type":"Polygon","coordinates":[[[1,a],[2,b],[1,a]]]}})");
    EXPECT_STREQ(stored.channel_sid, "door");
    EXPECT_EQ(stored.positions.size(), 2U);
}

TEST_F(face_requests, tell_the_threshold_as_a_quoted_number)
{
    for (const long threshold : {500000L, 0L, -1L, LONG_MAX, LONG_MIN}) {
        EXPECT_EQ(ai_CDataBaseComm().check_remove_face_metadata(threshold), 0);
        const texts requests = store_.requests();
        EXPECT_EQ(line_of(requests.back()), "POST /third_party/check_face_threshold");
        EXPECT_EQ(body_of(requests.back()), "{\"threshold\":\"" + std::to_string(threshold) + "\"}");
    }
}

TEST_F(face_requests, that_store_return_the_replys_ret_else_the_transports_result)
{
    const struct {
        scripted_reply reply;
        int result;
    } cases[] = {
        {json_reply(R"({"ret":5})"), 5},
        {json_reply(R"({"ret":-101})"), -101},
        {json_reply("{}"), 0},
        {json_reply("no JSON"), 0},
        {json_reply(""), -1},
        {http_reply(500, R"({"ret":0})"), -1},
        {raw_reply("HTTP/1.1 200 OK\r\nContent-Length: 99\r\n\r\n{\"re"), -5},
        {raw_reply("HTTP/1.1 200 OK\r\nContent-Length: 99\r\n\r\n{\"ret\":0}"), 0},
        {reset_unread(), -1},
    };
    for (const auto& c : cases) {
        store_.reply_with(c.reply);
        store_.reply_with(c.reply);
        record stored;
        EXPECT_EQ(ai_CDataBaseComm().add_face_metadata(stored), c.result) << c.reply.bytes;
        EXPECT_EQ(ai_CDataBaseComm().check_remove_face_metadata(500000), c.result) << c.reply.bytes;
    }
    EXPECT_EQ(debug_log_texts(), texts()); // the caller tells
}

} // namespace

} // namespace korvane::test
