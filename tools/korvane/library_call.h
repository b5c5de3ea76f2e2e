// One call of an entry point, in a process of its own: what it answered, what it logged and how it ended.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace host {

struct library_answer {
    unsigned int code = 0;
    std::string text;
    std::string ending; ///< how the call ended the process; empty when it did not
    std::vector<std::string> log;

    bool ok() const { return ending.empty() && code == 0; }
};

/// `entry` returns the entry point's code and puts its answer into the text. Throws std::runtime_error when no
/// process can be made.
library_answer call_library(const std::function<int(std::string& text)>& entry);

/// For the entry points that answer with a JSON text of their own.
library_answer call_library(int (*entry)(void* request, void** answer), const std::string& request);

/// What the library noted while it answered, to standard error: a channel that was left out, say. Not the lines
/// that it logs of every call.
void print_notes(const library_answer& answer);

/// Says on standard error why a call failed, and returns the exit status for it. `what` names the call; a
/// `request` that is no JSON is told with the place; it is empty for a call that takes none.
int tell_failure(const library_answer& answer, const char* what, const std::string& request);

} // namespace host
