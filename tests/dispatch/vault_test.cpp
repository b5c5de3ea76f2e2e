// The vault requests called directly, for what the entry point never asks, and the entry point without a
// buffer.
#include "store/ai_CDataBaseComm.h"

#include "tests/dispatch/calls.h"
#include "tests/dispatch/client_requests.h"
#include "tests/support/debug_log.h"
#include "tests/support/sandbox_test.h"
#include "tests/support/scripted_store.h"

#include <korvane/ai_metadata.h>

#include <array>

namespace korvane::test {

namespace {

using texts = std::vector<std::string>;

int get(std::string name, std::vector<vault_information>& vaults)
{
    return ai_CDataBaseComm().get_vault(name.data(), vaults);
}

class vault_requests : public sandbox_test {
protected:
    scripted_store store_;
};

TEST_F(vault_requests, without_a_buffer_are_not_sent)
{
    EXPECT_EQ(get_IVA_vault_id(nullptr), code(result_null_request));
    EXPECT_EQ(store_.requests(), texts());
    EXPECT_EQ(debug_log_texts(), texts());
}

TEST_F(vault_requests, fill_a_buffer_of_256_bytes_to_its_last)
{
    store_.reply_with(json_reply(R"({"ret":0,"datas":[{"vault_id":")" + std::string(255, 'v') + R"("}]})"));
    std::array<char, 256> buffer;
    buffer.fill('~');
    EXPECT_EQ(get_IVA_vault_id(buffer.data()), 0);
    EXPECT_EQ(std::string(buffer.data()), std::string(255, 'v'));
}

TEST_F(vault_requests, send_a_name_as_it_is_and_keep_the_question_mark_without_one)
{
    std::vector<vault_information> vaults;
    EXPECT_EQ(ai_CDataBaseComm().get_vault(nullptr, vaults), 0);
    EXPECT_EQ(line_of(store_.requests().back()), "GET /third_party/device?");
    for (const char* name : {"IVA", "", "a b&c=d%20\"e\"", "T\xc3\xbcr"}) {
        EXPECT_EQ(get(name, vaults), 0);
        EXPECT_EQ(line_of(store_.requests().back()),
                  std::string("GET /third_party/device?vault_name=") + name);
    }
    EXPECT_TRUE(vaults.empty());
}

TEST_F(vault_requests, are_refused_when_the_name_would_split_them)
{
    std::vector<vault_information> vaults;
    for (const char* name : {"a\r\nHost: x", "\t", "\x7f"}) {
        clear_debug_log();
        EXPECT_EQ(get(name, vaults), code(result_bad_request));
        EXPECT_EQ(debug_log_texts(), texts{not_sent + "a value holds a control character"});
    }
    EXPECT_EQ(store_.requests(), texts());
}

TEST_F(vault_requests, fill_511_characters_and_no_more)
{
    const std::string head = "GET /third_party/device?vault_name=";
    const std::string longest(476, 'n');
    std::vector<vault_information> vaults(1);
    store_.reply_with(json_reply(R"({"ret":0,"datas":[{"vault_id":"1"}]})"));
    EXPECT_EQ(get(longest, vaults), 0);
    EXPECT_EQ(line_of(store_.requests().back()), head + longest);
    EXPECT_EQ(line_of(store_.requests().back()).size(), 511U);
    EXPECT_EQ(vaults.size(), 2U);
    EXPECT_EQ(debug_log_texts(), texts());

    for (const std::size_t length : {477U, 478U, 9000U}) {
        clear_debug_log();
        EXPECT_EQ(get(std::string(length, 'n'), vaults), static_cast<int>(0xC4080001)) << length;
        EXPECT_EQ(vaults.size(), 2U) << length;
        EXPECT_EQ(debug_log_texts(), texts{not_sent + "it is too long"}) << length;
    }
    EXPECT_EQ(store_.requests().size(), 1U);
}

TEST_F(vault_requests, append_all_vaults_in_the_replys_order)
{
    store_.reply_with(json_reply(
        R"({"ret":0,"datas":[{"vault_id":"1","index":0},{"vault_id":"2"},{"vault_name":"third"}]})"));
    std::vector<vault_information> vaults(1);
    EXPECT_EQ(get("IVA", vaults), 0);
    ASSERT_EQ(vaults.size(), 4U);
    EXPECT_STREQ(vaults[1].vault_id, "1");
    EXPECT_EQ(vaults[1].index, 0);
    EXPECT_STREQ(vaults[2].vault_id, "2");
    EXPECT_EQ(vaults[2].index, -1);
    EXPECT_STREQ(vaults[3].vault_name, "third");
}

TEST_F(vault_requests, return_the_replys_ret_else_the_transports_result)
{
    const std::string one = R"("datas":[{"vault_id":"1"}]})";
    const std::string early = "HTTP/1.1 200 OK\r\nContent-Length: 999\r\n\r\n";
    const struct {
        scripted_reply reply;
        int result;
        std::size_t count;
    } cases[] = {
        {json_reply("{" + one), 0, 1},
        {json_reply(R"({"ret":5,)" + one), 5, 1},
        {json_reply(R"({"ret":-101,)" + one), -101, 0},
        {json_reply("{}"), 0, 0},
        {json_reply("no JSON"), 0, 0},
        {json_reply(""), -1, 0},
        {http_reply(500, R"({"ret":0,)" + one), -1, 0},
        {raw_reply(early + "{" + one), -5, 1},
        {raw_reply(early + R"({"ret":0,)" + one), 0, 1},
        {reset_unread(), -1, 0},
    };
    for (const auto& c : cases) {
        store_.reply_with(c.reply);
        std::vector<vault_information> vaults;
        EXPECT_EQ(get("IVA", vaults), c.result) << c.reply.bytes;
        EXPECT_EQ(vaults.size(), c.count) << c.reply.bytes;
    }
    EXPECT_EQ(debug_log_texts(), texts()); // the caller tells
}

} // namespace

} // namespace korvane::test
