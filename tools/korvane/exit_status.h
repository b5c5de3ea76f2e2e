// What the program's exit status says.
#pragma once

namespace host {

enum exit_status {
    all_well = 0,
    something_refused = 1,
    usage_error = 2,
    store_unreachable = 3,
    interrupted_by_user = 130, // as a shell reports Ctrl-C
};

} // namespace host
