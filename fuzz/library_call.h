// A call of the library that outlives the end of the process.
//
// The library ends the process for a text that is too long where its interface demands it. That is no finding, but a
// process that ends takes the fuzzer along. So the targets are linked with another abort (-Wl,--wrap=abort): within a
// call it unwinds the stack as the cancelling of a thread does, which the library's catch clauses let pass and which
// releases all that the call holds, and the fuzzer goes on. An abort from anywhere else, and one without the line that
// the library promises on standard error, is a finding as ever.
#pragma once

#include <initializer_list>
#include <string_view>

namespace korvane::fuzz {

/// Names of the texts for which a call may end the process.
using fatal_texts = std::initializer_list<std::string_view>;

/// Runs a call; false when it ended the process. Ending it for a text that is not one of `may_end`, without saying which
/// or with a word more, and writing to standard error without ending it, is a finding.
bool library_survives(void (*call)(void*), void* context, fatal_texts may_end);

template <class Call>
bool library_survives(Call call, fatal_texts may_end = {})
{
    return library_survives([](void* context) { (*static_cast<Call*>(context))(); }, &call, may_end);
}

} // namespace korvane::fuzz
