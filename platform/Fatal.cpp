#include "platform/Fatal.h"

#include <cstdlib>

namespace orrery {

void stopProgram() { std::abort(); }

}  // namespace orrery
