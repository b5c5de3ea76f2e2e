#include "tests/roundtrip/roundtrip_test.h"
#include "tests/support/debug_log.h"

#include <korvane/ai_metadata.h>

namespace korvane::test {

namespace {

using texts = std::vector<std::string>;

std::string vault_id(int expected = 0)
{
    char id[256] = "untouched";
    EXPECT_EQ(get_IVA_vault_id(id), expected);
    return id;
}

class vault_roundtrip : public roundtrip_test {};

TEST_F(vault_roundtrip, finds_the_stores_own_vault)
{
    EXPECT_EQ(vault_id(), "korvane-store-vault-1");
    EXPECT_EQ(debug_log_texts(), texts());
}

TEST_F(vault_roundtrip, takes_the_first_of_two)
{
    restart_store({"--no-vault", "--vault", "Other=0", "--vault", "IVA=first", "--vault", "IVA=second"});
    EXPECT_EQ(vault_id(), "first");
}

TEST_F(vault_roundtrip, takes_an_id_of_255_characters)
{
    restart_store({"--no-vault", "--vault", "IVA=" + std::string(255, 'v')});
    EXPECT_EQ(vault_id(), std::string(255, 'v'));
}

TEST_F(vault_roundtrip, finds_none_of_another_name)
{
    restart_store({"--no-vault", "--vault", "iva=1", "--vault", "IVA2=2"});
    EXPECT_EQ(vault_id(static_cast<int>(result_no_vault)), "untouched");
    EXPECT_EQ(debug_log_texts(), texts{"[korvane](get_IVA_vault_id:#) IVA vault int not exist"});
}

TEST_F(vault_roundtrip, finds_none_in_a_store_without_vaults)
{
    restart_store({"--no-vault"});
    EXPECT_EQ(vault_id(static_cast<int>(result_no_vault)), "untouched");
}

TEST_F(vault_roundtrip, fails_without_a_store)
{
    stop_store();
    EXPECT_EQ(vault_id(-1), "untouched");
    EXPECT_EQ(debug_log_texts(), texts{"[korvane](get_IVA_vault_id:#) get IVA vault failed"});
}

} // namespace

} // namespace korvane::test
