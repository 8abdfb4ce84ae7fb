#pragma once
// A word taken from some input, shown in a message: bounded and readable whatever its bytes.
// The COLLADA reader's warnings and the simulator's errors quote words each in their own way,
// which QuoteStyle names.

#include <cstddef>
#include <string>
#include <string_view>

namespace orrery::memory {

struct QuoteStyle {
    /// The mark around the word: '"' or '\''.
    char mark = '\'';
    /// At most this many bytes of the word are shown.
    std::size_t maxBytes = 64;
    /// Valid UTF-8 sequences of two to four bytes are shown as they are, and a cut never halves
    /// one; otherwise every byte outside printable ASCII is written \xNN.
    bool keepUtf8 = true;
    /// A backslash is written `\\` and the mark as it is; otherwise both are written \xNN.
    bool doubleBackslash = true;
    /// A cut word ends in "... (N bytes)", N the whole word's size; otherwise in "...".
    bool tellSize = true;
};

/// `word` in `style`'s marks: printable ASCII as it is (but for the escapes above), every other
/// byte as \xNN, at most `style.maxBytes` of it.
std::string quoted(std::string_view word, const QuoteStyle& style);

}  // namespace orrery::memory
