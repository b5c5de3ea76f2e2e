#include "interrupt.h"

#include <csignal>

namespace host {
namespace {

volatile std::sig_atomic_t noted = 0;

} // namespace

void note_interrupts()
{
    struct sigaction action = {};
    action.sa_handler = [](int) { noted = 1; };
    action.sa_flags = static_cast<int>(SA_RESETHAND); // without SA_RESTART: a waiting read returns
    sigaction(SIGINT, &action, nullptr);
}

bool interrupted()
{
    return noted != 0;
}

} // namespace host
