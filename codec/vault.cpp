#include "codec/vault.h"

#include "codec/reply_reader.h"
#include "util/guarded.h"

namespace korvane {

void read_vaults(const std::string& body, std::vector<vault_information>& vaults, int& result)
{
    const json_owner tree = parse_json(body.c_str());
    get_json_int(tree.get(), "ret", &result);
    if (result == ret_nothing) {
        return;
    }
    append_whole(vaults, [&] {
        json_elements(json_member(tree.get(), "datas")).use_up([&](json_object* element) {
            vault_information& vault = vaults.emplace_back();
            reply_row row(element);
            row.text("vault_id", vault.vault_id);
            row.text("vault_name", vault.vault_name);
            row.text("description", vault.description);
            row.number_unless(-1, "index", vault.index);
            reply_row(json_member(element, "status")).text("last_recv_time_str", vault.last_recv_time_str);
        });
    });
}

namespace {

void add_text_if_set(json_object* object, const char* name, std::string_view text)
{
    if (!text.empty()) {
        add_json_member(object, name, make_json_text(text));
    }
}

void write_vault(const vault_information& vault, std::string& text)
{
    const json_owner object = make_json_object();
    add_text_if_set(object.get(), "vault_id", text_of(vault.vault_id));
    add_text_if_set(object.get(), "vault_name", text_of(vault.vault_name));
    if (vault.description[0] == ' ') { // as hosts know it: a leading blank empties it
        add_json_member(object.get(), "description", make_json_text(""));
    } else {
        add_text_if_set(object.get(), "description", text_of(vault.description));
    }
    text = json_text(object.get());
}

} // namespace

} // namespace korvane

// NOLINTNEXTLINE(performance-unnecessary-value-param): by value, as the interface has it
int trans_string_to_vault_info(std::string body, std::vector<vault_information>& vaults, int& result)
{
    return korvane::guarded(__func__, [&] {
        korvane::read_vaults(body, vaults, result);
        return 0;
    });
}

int trans_vault_info_to_string(vault_information& vault, std::string& text)
{
    return korvane::guarded(__func__, [&] {
        korvane::write_vault(vault, text);
        return 0;
    });
}
