#pragma once
// `orrery-sim --window`: the app live in an SDL2 window shaped like the phone's screen, with
// a side panel, the clock running in real time.

#include "sim/Simulator.h"
#include "window/LiveSession.h"

#include <string>

namespace orrery::window {

/// Opens the window and runs until it is closed (Escape or the window's close button). Every
/// line the session runs goes to `recording` (may be null); what `dump` and `calls` print goes
/// to `print`. Ends with a dump of the final state. Returns 0, or 2 with a message on standard
/// error when no window can be opened.
int runWindow(sim::Simulator& simulator, Recording* recording, const LiveSession::Print& print);

}  // namespace orrery::window
