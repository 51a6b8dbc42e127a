// What keeps the window alive while a long pass holds the GUI thread.
#pragma once

#include <cstddef>

// Lets Qt deliver all events. Ticks and the slots of transfers can run in it, and the player can close the
// window: a pass holds only values of its own across it, and runs on.
void ProcessWaitingEvents();

// The same at every tenth place of a pass, the first one included.
void ProcessWaitingEventsAt(std::size_t index);
