// One insert of one record, for a look at its system calls:
//
//   strace -o calls.txt insert_once
//
// traces this thread alone, not the peer's; what lies between the two lines written is the library's.
#include "bench/fail.h"
#include "bench/peer.h"
#include "bench/samples.h"

#include <korvane/ai_metadata.h>

#include <unistd.h>

#include <string>
#include <string_view>

namespace {

void mark(std::string_view line)
{
    if (write(STDOUT_FILENO, line.data(), line.size()) < 0) {
        korvane::bench::fail_call("write");
    }
}

} // namespace

int main()
{
    korvane::bench::peer peer;
    peer.answer_with(korvane::bench::make_stored_reply());
    std::string report = korvane::bench::make_report(1);
    // The second insert: the first also pays for the memory that the process keeps.
    int code = insert_ai_metadata(report.data());
    mark("insert begins\n");
    code = code == 0 ? insert_ai_metadata(report.data()) : code;
    mark("insert ends\n");
    if (code != 0) {
        korvane::bench::fail("insert_ai_metadata returned " + std::to_string(code));
    }
}
