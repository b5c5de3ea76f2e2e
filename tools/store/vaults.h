#pragma once

#include <cstdint>
#include <string>
#include <vector>

/// A storage area as recorders list them. This store keeps everything in one database, whatever its vaults.
struct vault {
    std::string name;
    std::string id;
};

/// The longest texts that readers of a vault list have room for, in bytes.
constexpr std::size_t longest_vault_name = 63;
constexpr std::size_t longest_vault_id = 255;

/// GET of the device list: the vaults of the name that the query asks for, or all. `last_record_ms` is when
/// the store last took a record, in milliseconds since the epoch, 0 for never. The reply's text.
std::string query_vaults(const std::vector<vault>& vaults, std::int64_t last_record_ms,
                         const std::string& raw_query);
