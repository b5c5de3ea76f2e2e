// The commands of the korvane program: one function each, one file each, listed in main.cpp.
#pragma once

#include "exit_status.h"

#include <CLI/CLI.hpp>
#include <functional>

namespace host {

/// A declared command and what runs it once the arguments are read. `run` returns an exit_status and throws
/// CLI::ParseError for arguments that only the command itself can judge.
struct command {
    CLI::App* app;
    std::function<int()> run;
};

command insert_command(CLI::App& program);
command query_command(CLI::App& program);
command groups_command(CLI::App& program);
command latest_command(CLI::App& program);
command stats_command(CLI::App& program);
command delete_counts_command(CLI::App& program);
command vault_command(CLI::App& program);
command explain_command(CLI::App& program);

} // namespace host
