#include "vaults.h"

#include "json_text.h"
#include "query_string.h"

std::string query_vaults(const std::vector<vault>& vaults, std::int64_t last_record_ms,
                         const std::string& raw_query)
{
    const std::string_view name = query_parameters(raw_query, {"vault_name"}).find("vault_name").value_or("");
    const std::string last_time = last_record_ms == 0 ? "" : std::to_string(last_record_ms);
    std::string rows;
    for (std::size_t index = 0; index < vaults.size(); ++index) {
        const vault& each = vaults[index];
        if (!name.empty() && name != each.name)
            continue;
        rows += std::string(rows.empty() ? "" : ",") + R"({"vault_id":)" + json_quoted(each.id) +
                R"(,"vault_name":)" + json_quoted(each.name) +
                R"(,"description":"vault of the development store","index":)" + std::to_string(index) +
                R"(,"status":{"last_recv_time_str":")" + last_time + R"("}})";
    }
    return R"({"ret":0,"datas":[)" + rows + "]}";
}
