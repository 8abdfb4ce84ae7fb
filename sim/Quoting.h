#pragma once
// How messages show a word taken from the input: bounded and readable whatever its bytes.

#include <cstddef>
#include <string>
#include <string_view>

namespace orrery::sim {

/// At most this many bytes of a word are shown in a message.
inline constexpr std::size_t kQuotedPrefixBytes = 64;

/// The word in single quotes, for a message: bytes that are not printable (control bytes, NUL,
/// DEL, bytes outside a valid UTF-8 sequence) are written as \xNN and a backslash as \\; a word
/// longer than kQuotedPrefixBytes is cut at a character boundary and ends in "... (N bytes)".
std::string quotedWord(std::string_view word);

}  // namespace orrery::sim
