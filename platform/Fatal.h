#pragma once

namespace orrery {

/// Ends the process at once, abnormally and without a message.
/// Every programming error (a missing model, view, frame, touch or address) comes here.
[[noreturn]] void stopProgram();

}  // namespace orrery
