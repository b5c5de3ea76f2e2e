#include "store_process.h"

#include <gtest/gtest.h>

namespace {

std::string vault(const std::string& id, const std::string& name, int index)
{
    return R"({"vault_id":")" + id + R"(","vault_name":")" + name +
           R"(","description":"vault of the development store","index":)" + std::to_string(index) +
           R"(,"status":{"last_recv_time_str":""}})";
}

std::string vaults(const std::string& rows)
{
    return R"({"ret":0,"datas":[)" + rows + "]}";
}

const std::string default_vault = vault("korvane-store-vault-1", "IVA", 0);

TEST(vaults_test, one_vault_is_there_without_options)
{
    const store_process store;
    EXPECT_EQ(vaults(default_vault), store.get("device?"));
    EXPECT_EQ(vaults(default_vault), store.get("device"));
    EXPECT_EQ(vaults(default_vault), store.get("device?vault_name=IVA"));
    EXPECT_EQ(vaults(""), store.get("device?vault_name=iva"));
    EXPECT_EQ(R"({"ret":1007,"reason":"unknown parameter \"name\""})", store.get("device?name=IVA"));
}

TEST(vaults_test, options_add_vaults_and_take_the_default_away)
{
    const store_process more({"--vault", "IVA=second", "--vault", "Front \"door\"=é=1"});
    EXPECT_EQ(vaults(default_vault + "," + vault("second", "IVA", 1)), more.get("device?vault_name=IVA"));
    EXPECT_EQ(vaults(vault("é=1", "Front \\\"door\\\"", 2)), more.get("device?vault_name=Front \"door\""));
    const store_process none({"--no-vault"});
    EXPECT_EQ(vaults(""), none.get("device?vault_name=IVA"));
    const store_process other({"--no-vault", "--vault", "IVA=mine"});
    EXPECT_EQ(vaults(vault("mine", "IVA", 0)), other.get("device?"));
}

TEST(vaults_test, the_last_record_has_its_time_in_15_characters)
{
    const store_process store;
    ASSERT_EQ(ok, store.post("people_counting", R"({"people_count_in":1})"));
    const std::string body = store.get("device?vault_name=IVA");
    const std::size_t begin = body.find(R"("last_recv_time_str":")") + 22;
    const std::string time = body.substr(begin, body.find('"', begin) - begin);
    EXPECT_EQ(13U, time.size()) << body;
    EXPECT_EQ(std::string::npos, time.find_first_not_of("0123456789")) << body;
}

} // namespace
