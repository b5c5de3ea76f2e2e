#include "http_server.h"
#include "json_text.h"
#include "metadata_store.h"

#include <CLI/CLI.hpp>

#include <cstdint>
#include <cstdio>
#include <iostream>
#include <string>
#include <system_error>
#include <vector>

namespace {

const vault default_vault = {"IVA", "korvane-store-vault-1"};

struct options {
    std::string address = "127.0.0.1";
    std::uint16_t port = 10158;
    std::string database_file; ///< empty: memory
    std::vector<std::string> vaults;
    bool no_default_vault = false;
    bool quiet = false;
};

std::string check_vault(const std::string& text)
{
    const std::size_t equals = text.find('=');
    if (equals == std::string::npos || equals == 0)
        return "\"" + text + "\" is no vault, expected NAME=ID";
    if (equals > longest_vault_name || text.size() - equals - 1 > longest_vault_id)
        return "vault \"" + text + "\" is too long, expected a name of at most " +
               std::to_string(longest_vault_name) + " bytes and an id of at most " +
               std::to_string(longest_vault_id);
    return {};
}

void declare_options(CLI::App& app, options& chosen)
{
    app.set_version_flag("--version", "korvane-store " KORVANE_VERSION);
    app.add_option("--address", chosen.address, "Loopback address to listen on")
        ->check(CLI::Validator(check_loopback_address, "ADDRESS"))
        ->capture_default_str();
    app.add_option("--port", chosen.port, "Port to listen on; 0 picks a free one")
        ->check(CLI::Range(0, 65535).description(""))
        ->capture_default_str();
    app.add_option("--db", chosen.database_file, "SQLite database file, made if missing (default: memory)")
        ->type_name("FILE");
    app.add_option("--vault", chosen.vaults, "Vault to list beside the default one; may be repeated")
        ->check(CLI::Validator(check_vault, "NAME=ID"))
        ->allow_extra_args(false);
    app.add_flag("--no-vault", chosen.no_default_vault,
                 "Do not list the default vault, " + default_vault.name);
    app.add_flag("--quiet", chosen.quiet, "Print no refused requests and no summary at the end");
}

std::vector<vault> list_vaults(const options& chosen)
{
    std::vector<vault> vaults;
    if (!chosen.no_default_vault)
        vaults.push_back(default_vault);
    for (const std::string& text : chosen.vaults) {
        const std::size_t equals = text.find('=');
        vaults.push_back({text.substr(0, equals), text.substr(equals + 1)});
    }
    return vaults;
}

int serve(const options& chosen)
{
    metadata_store store(chosen.database_file, list_vaults(chosen));
    http_server server(chosen.address, chosen.port, [&](const request& asked) {
        reply made = store.handle(asked);
        if (made.is_refusal && !chosen.quiet)
            std::cerr << "refused " << asked.method << " " << json_quoted(asked.path) << ": " << made.body
                      << std::endl;
        return made;
    });
    std::cout << "korvane-store listening on " << server.place()
              << ", database: " << (chosen.database_file.empty() ? "memory" : chosen.database_file)
              << std::endl;
    server.run();
    if (!chosen.quiet)
        std::cout << "korvane-store stopped, database holds: " << store.summary() << std::endl;
    return 0;
}

} // namespace

// What CLI11 or an output stream throws ends the program, as it should.
// NOLINTNEXTLINE(bugprone-exception-escape)
int main(int argc, char** argv)
{
    options chosen;
    CLI::App app(
        "Development metadata store: keeps analytics results and answers queries for them over HTTP.",
        "korvane-store");
    declare_options(app, chosen);
    CLI11_PARSE(app, argc, argv);
    try {
        return serve(chosen);
    } catch (const std::system_error& error) {
        std::cerr << "korvane-store: cannot listen on " << chosen.address << " port " << chosen.port << ": "
                  << error.code().message() << std::endl;
    } catch (const database_error& error) {
        std::cerr << "korvane-store: cannot open the database "
                  << (chosen.database_file.empty() ? "in memory" : chosen.database_file) << ": "
                  << error.what() << std::endl;
    }
    return 1;
}
