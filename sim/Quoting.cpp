#include "sim/Quoting.h"

#include "platform/memory/text/Quoting.h"

namespace orrery::sim {

std::string quotedWord(std::string_view word) {
    return memory::quoted(word, {.mark = '\'', .maxBytes = kQuotedPrefixBytes});
}

}  // namespace orrery::sim
