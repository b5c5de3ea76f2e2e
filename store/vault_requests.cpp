#include "codec/vault.h"
#include "store/ai_CDataBaseComm.h"
#include "store/store_exchange.h"
#include "util/guarded.h"

int ai_CDataBaseComm::get_vault(char* vault_name, std::vector<vault_information>& vaults)
{
    return korvane::guarded(__func__, [&] {
        // Names are short, and so is the area. The question mark stays without a name too.
        korvane::request_line line("GET", "/third_party/device", 512);
        if (vault_name) {
            line.text("vault_name", vault_name);
        }
        korvane::query_reply reply = korvane::query_store(line);
        if (!reply.body.empty()) {
            korvane::read_vaults(reply.body, vaults, reply.result);
        }
        return reply.result;
    });
}
