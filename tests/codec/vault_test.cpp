#include "codec/vault.h"

#include "tests/codec/record_fields.h"
#include "tests/support/debug_log.h"
#include "tests/support/sandbox_test.h"

#include <array>
#include <climits>
#include <functional>
#include <new>

namespace korvane::test {

namespace {

using record = vault_information;
using log_texts = std::vector<std::string>;

std::string written_with(const std::function<void(record&)>& change)
{
    record changed;
    change(changed);
    std::string text = "what stood here before";
    EXPECT_EQ(trans_vault_info_to_string(changed, text), 0);
    return text;
}

struct reading {
    int result = 11;
    std::vector<record> vaults;
};

reading read(const std::string& body, reading before = {})
{
    EXPECT_EQ(trans_string_to_vault_info(body, before.vaults, before.result), 0) << body;
    return before;
}

record read_one(const std::string& element)
{
    const reading seen = read(R"({"ret":0,"datas":[)" + element + "]}");
    EXPECT_EQ(seen.vaults.size(), 1U) << element;
    return seen.vaults.empty() ? record() : seen.vaults.front();
}

class vault_text : public sandbox_test {};
class vault_reply : public sandbox_test {};

TEST(vault_record, is_cleared_when_made)
{
    alignas(record) std::array<unsigned char, sizeof(record)> dirty;
    dirty.fill(0xff);
    const auto* made = new (dirty.data()) record();
    EXPECT_TRUE(all_zero(made->vault_id) && all_zero(made->vault_name) && all_zero(made->description) &&
                all_zero(made->last_recv_time_str));
    EXPECT_EQ(made->index, -1);
}

TEST_F(vault_text, has_three_texts_each_when_it_is_set)
{
    const struct {
        std::function<void(record&)> change;
        const char* text;
    } cases[] = {
        {[](record&) {}, "{ }"},
        {[](record& r) { set(r.vault_id, "v-1"); }, R"({ "vault_id": "v-1" })"},
        {[](record& r) { set(r.vault_name, "IVA"); }, R"({ "vault_name": "IVA" })"},
        {[](record& r) { set(r.description, "d"); }, R"({ "description": "d" })"},
        // Never written.
        {[](record& r) { r.index = 7; }, "{ }"},
        {[](record& r) { set(r.last_recv_time_str, "1712345678901"); }, "{ }"},
        {[](record& r) {
             set(r.last_recv_time_str, "1");
             r.index = 0;
             set(r.description, "d");
             set(r.vault_name, "n");
             set(r.vault_id, "i");
         },
         R"({ "vault_id": "i", "vault_name": "n", "description": "d" })"},
        // A leading blank makes a description the empty text, which is written.
        {[](record& r) { set(r.description, " x"); }, R"({ "description": "" })"},
        {[](record& r) { set(r.description, " "); }, R"({ "description": "" })"},
        {[](record& r) { set(r.description, "x "); }, R"({ "description": "x " })"},
        {[](record& r) { set(r.description, "\tx"); }, R"({ "description": "\tx" })"},
        // Only a description's.
        {[](record& r) { set(r.vault_id, " x"); }, R"({ "vault_id": " x" })"},
        {[](record& r) { set(r.vault_name, " x"); }, R"({ "vault_name": " x" })"},
        // Escaped as JSON, unlike the records that are sent.
        {[](record& r) { set(r.vault_name, "a \"b\" \\ \n"); }, R"({ "vault_name": "a \"b\" \\ \n" })"},
        {[](record& r) { set(r.vault_name, "a/b \xc3\xbc"); }, "{ \"vault_name\": \"a\\/b \xc3\xbc\" }"},
        // A first byte of zero is an empty text, whatever stands behind it.
        {[](record& r) { r.vault_id[1] = 'x'; }, "{ }"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(written_with(c.change), c.text);
    }
    EXPECT_EQ(debug_log_texts(), log_texts());
}

TEST_F(vault_text, reads_a_full_field_to_its_end_and_no_further)
{
    const auto full = [](record& r) {
        fill(r.vault_id, 'i');
        fill(r.vault_name, 'n');
        fill(r.description, 'd');
        r.index = 0x41414141;
        fill(r.last_recv_time_str, 't');
    };
    EXPECT_EQ(written_with(full), "{ \"vault_id\": \"" + times(256, "i") + "\", \"vault_name\": \"" +
                                      times(64, "n") + "\", \"description\": \"" + times(128, "d") + "\" }");
}

TEST_F(vault_reply, sets_the_result_and_appends_the_vaults)
{
    const struct {
        const char* body;
        int result;
        std::size_t count;
    } cases[] = {
        {R"({"ret":0,"datas":[]})", 0, 0},
        {R"({"ret":0,"datas":[{},{}]})", 0, 2},
        {R"({"ret":5,"datas":[{}]})", 5, 1},
        {R"({"ret":"7","datas":[{}]})", 7, 1},
        {R"({"datas":[{}]})", 11, 1},
        {R"({"ret":null,"datas":[{}]})", 11, 1},
        {R"({"ret":-101})", -101, 0},
        {R"({"ret":-101,"datas":[{}]})", -101, 0},
        {R"({"ret":0})", 0, 0},
        {R"({"ret":0,"datas":null})", 0, 0},
        {R"({"ret":0,"datas":{}})", 0, 0},
        {R"({"ret":0,"datas":"x"})", 0, 0},
        {R"({"ret":0,"datas":[null,5,"x",[],{}]})", 0, 5},
        {"{}", 11, 0},
        {"[]", 11, 0},
        {"null", 11, 0},
        {"", 11, 0},
        {"<html>", 11, 0},
        {"\xff\xfe{}", 11, 0},
        {R"({"ret":0,"datas":[{})", 11, 0},
    };
    for (const auto& c : cases) {
        const reading seen = read(c.body);
        EXPECT_EQ(seen.result, c.result) << c.body;
        EXPECT_EQ(seen.vaults.size(), c.count) << c.body;
    }
    EXPECT_EQ(debug_log_texts(), log_texts());
}

TEST_F(vault_reply, without_a_ret_has_nothing_when_the_caller_says_so)
{
    reading before;
    before.result = -101;
    const reading seen = read(R"({"datas":[{}]})", before);
    EXPECT_EQ(seen.result, -101);
    EXPECT_TRUE(seen.vaults.empty());
    EXPECT_EQ(read(R"({"ret":0,"datas":[{}]})", before).vaults.size(), 1U);
}

TEST_F(vault_reply, keeps_the_vaults_that_are_there)
{
    reading before;
    before.vaults.resize(1);
    set(before.vaults[0].vault_id, "kept");
    const reading seen = read(R"({"ret":0,"datas":[{"vault_id":"first"},{"vault_name":"second"}]})", before);
    ASSERT_EQ(seen.vaults.size(), 3U);
    EXPECT_STREQ(seen.vaults[0].vault_id, "kept");
    EXPECT_STREQ(seen.vaults[1].vault_id, "first");
    EXPECT_STREQ(seen.vaults[2].vault_id, "");
    EXPECT_STREQ(seen.vaults[2].vault_name, "second");
}

TEST_F(vault_reply, fills_every_field)
{
    const record seen = read_one(R"({"vault_id":"v-1","vault_name":"IVA","description":" d","index":3,
                     "status":{"last_recv_time_str":"1712345678901","index":9}})");
    EXPECT_STREQ(seen.vault_id, "v-1");
    EXPECT_STREQ(seen.vault_name, "IVA");
    EXPECT_STREQ(seen.description, " d");
    EXPECT_EQ(seen.index, 3);
    EXPECT_STREQ(seen.last_recv_time_str, "1712345678901");
}

TEST_F(vault_reply, leaves_a_cleared_field_for_each_member_it_lacks)
{
    for (const char* element : {
             "{}",
             "null",
             "5",
             R"({"status":null})",
             R"({"status":{}})",
             R"({"status":5})",
             R"({"status":[{"last_recv_time_str":"1"}]})",
             R"({"last_recv_time_str":"1"})",
             R"({"status":{"last_recv_time_str":null}})",
             R"({"vault_id":null,"vault_name":null,"description":null,"index":null})",
         }) {
        const record seen = read_one(element);
        EXPECT_TRUE(all_zero(seen.vault_id) && all_zero(seen.vault_name) && all_zero(seen.description) &&
                    all_zero(seen.last_recv_time_str))
            << element;
        EXPECT_EQ(seen.index, -1) << element;
    }
}

TEST_F(vault_reply, converts_values_of_other_types)
{
    const std::pair<const char*, int> cases[] = {{"0", 0},
                                                 {"-1", -1},
                                                 {"\"5\"", 5},
                                                 {"2.9", 2},
                                                 {"true", 1},
                                                 {"\"x\"", 0},
                                                 {"2147483648", INT_MAX},
                                                 {"-2147483649", INT_MIN}};
    for (const auto& [text, index] : cases) {
        EXPECT_EQ(read_one(std::string(R"({"index":)") + text + "}").index, index) << text;
    }
    EXPECT_STREQ(read_one(R"({"vault_id":7})").vault_id, "7");
    EXPECT_STREQ(read_one(R"({"status":{"last_recv_time_str":1712345678901}})").last_recv_time_str,
                 "1712345678901");
}

TEST_F(vault_reply, fills_each_field_to_its_last_byte_and_cuts_what_is_longer)
{
    const struct {
        const char* before;
        const char* behind;
        std::size_t longest;
        std::function<const char*(const record&)> field;
    } cases[] = {
        {R"({"vault_id":")", "\"}", 255, [](const record& r) { return r.vault_id; }},
        {R"({"vault_name":")", "\"}", 63, [](const record& r) { return r.vault_name; }},
        {R"({"description":")", "\"}", 127, [](const record& r) { return r.description; }},
        {R"({"status":{"last_recv_time_str":")", "\"}}", 15,
         [](const record& r) { return r.last_recv_time_str; }},
    };
    for (const auto& c : cases) {
        for (const std::size_t length : {c.longest, c.longest + 1, std::size_t{5000}}) {
            const record seen = read_one(c.before + times(length, "z") + c.behind);
            EXPECT_EQ(c.field(seen), times(c.longest, "z")) << c.before << length;
            EXPECT_EQ(seen.index, -1) << "the field behind the text";
        }
    }
}

TEST_F(vault_reply, gives_back_what_was_written)
{
    const auto change = [](record& r) {
        set(r.vault_id, times(255, "i"));
        set(r.vault_name, "a \"b\" \\ /");
        set(r.description, "x ");
    };
    const record seen = read_one(written_with(change));
    EXPECT_EQ(seen.vault_id, times(255, "i"));
    EXPECT_STREQ(seen.vault_name, "a \"b\" \\ /");
    EXPECT_STREQ(seen.description, "x ");
}

} // namespace

} // namespace korvane::test
