#include "filter_options.h"

#include <limits>

namespace host {
namespace {

CLI::Option* declare_filter_of_kind(CLI::App& app, filter_values& values, const kind_filter& row)
{
    if (row.form.takes == filter_takes::nothing) {
        return app.add_flag_callback(
            row.option, [&values] { values = {"given"}; }, row.help);
    }
    CLI::Option* option = app.add_option(row.option, values, row.help)->type_name(row.value);
    return row.form.takes == filter_takes::values ? option->allow_extra_args(false) : option->expected(1);
}

} // namespace

std::vector<CLI::Option*> declare_filters(CLI::App& app, query_filter& filter, unsigned asked)
{
    std::vector<CLI::Option*> options = {
        app.add_option("--channel", filter.channels, "only this channel; may be given again")
            ->allow_extra_args(false)
            ->type_name("32_CHARACTERS"),
        app.add_option("--from", filter.from, local_time_forms)->type_name("TIME"),
        app.add_option("--to", filter.to, "in the same forms; without it: until now")->type_name("TIME"),
        app.add_option("--polygon", filter.polygon,
                       "only what overlaps it: fractions of the picture from left and top")
            ->type_name("X1,Y1,...,X4,Y4"),
    };
    for (const kind_filter& row : kind_filters()) {
        if ((row.knows_it & asked) != 0) {
            CLI::Option* option = declare_filter_of_kind(app, filter.of_kind[row.option], row);
            if (asked != of_persons) { // they know all that they are offered
                option->group("Filters of " + who_knows(row));
            }
            options.push_back(option);
        }
    }
    return options;
}

CLI::Validator whole_number_range()
{
    return CLI::Range(0, std::numeric_limits<int>::max()).description("");
}

} // namespace host
