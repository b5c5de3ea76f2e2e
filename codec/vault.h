// Vaults, the metadata store's storage areas, as JSON text.
#pragma once

#include <korvane/metadata_records.h>

#include <string>
#include <vector>

/// Appends the vaults of a reply to `vaults` and sets `result` when the reply has a "ret". A reply that says
/// it has nothing, or is not JSON, has no vaults. Returns 0, without memory result_bad_request.
int trans_string_to_vault_info(std::string body, std::vector<vault_information>& vaults, int& result);

/// Replaces `text` with the vault's id, name and description as JSON text, each when not empty.
/// Returns 0, without memory result_bad_request.
int trans_vault_info_to_string(vault_information& vault, std::string& text);

namespace korvane {

/// trans_string_to_vault_info for the library's own use, without the interface's copy.
void read_vaults(const std::string& body, std::vector<vault_information>& vaults, int& result);

} // namespace korvane
