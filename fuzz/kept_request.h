// The request that a successful query keeps: the one block that a call leaves behind, by contract.
//
// Over millions of queries it would fill the memory, and hide what else is left behind. The target is linked with another
// json_tokener_parse_ex (-Wl,--wrap=json_tokener_parse_ex), which remembers the request's tree and is told of its release.
#pragma once

namespace korvane::fuzz {

/// The next object parsed is the request.
void watch_request();

/// After the call: a query that succeeded has kept its request, which is released here; any other call has not.
void settle_request(bool query_succeeded);

} // namespace korvane::fuzz
