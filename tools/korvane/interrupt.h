// Ctrl-C ends a long run in good order: the first one is noted, a second one ends the process at once.
#pragma once

namespace host {

void note_interrupts();
bool interrupted();

} // namespace host
