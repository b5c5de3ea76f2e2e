#include "log/korvane_log.h"
#include "store/ai_CDataBaseComm.h"
#include "util/fixed_text.h"
#include "util/guarded.h"

#include <korvane/ai_metadata.h>

#include <cstring>

namespace korvane {

namespace {

int find_vault(char* vault_id)
{
    constexpr const char* here = "get_IVA_vault_id";
    char name[] = "IVA";
    std::vector<vault_information> vaults;
    if (const int code = ai_CDataBaseComm().get_vault(name, vaults)) {
        log_debug("[korvane](%s:%d) get IVA vault failed", here, __LINE__);
        return code;
    }
    if (vaults.empty()) {
        log_debug("[korvane](%s:%d) IVA vault int not exist", here, __LINE__);
        return as_int(result_no_vault);
    }
    const std::string_view id = text_of(vaults.front().vault_id);
    std::memcpy(vault_id, id.data(), id.size());
    vault_id[id.size()] = '\0';
    return as_int(result_ok);
}

} // namespace

} // namespace korvane

int get_IVA_vault_id(void* vault_id_out)
{
    if (vault_id_out == nullptr) {
        return korvane::as_int(korvane::result_null_request);
    }
    return korvane::guarded(__func__, [&] { return korvane::find_vault(static_cast<char*>(vault_id_out)); });
}
