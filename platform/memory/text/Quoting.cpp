#include "platform/memory/text/Quoting.h"

#include <cstdio>

namespace orrery::memory {

namespace {

/// Length of the valid UTF-8 sequence of two to four bytes starting at `i`, or 0.
std::size_t utf8SequenceLength(std::string_view text, std::size_t i) {
    const auto byte = [&](std::size_t k) { return static_cast<unsigned char>(text[k]); };
    const unsigned char lead = byte(i);
    std::size_t length = lead >= 0xC2 && lead <= 0xDF   ? 2
                         : lead >= 0xE0 && lead <= 0xEF ? 3
                         : lead >= 0xF0 && lead <= 0xF4 ? 4
                                                        : 0;
    if (length == 0 || i + length > text.size()) return 0;
    for (std::size_t k = 1; k < length; ++k)
        if ((byte(i + k) & 0xC0) != 0x80) return 0;
    // Overlong forms, UTF-16 surrogates and code points beyond U+10FFFF are not characters.
    if ((lead == 0xE0 && byte(i + 1) < 0xA0) || (lead == 0xED && byte(i + 1) > 0x9F) ||
        (lead == 0xF0 && byte(i + 1) < 0x90) || (lead == 0xF4 && byte(i + 1) > 0x8F))
        return 0;
    return length;
}

}  // namespace

std::string quoted(std::string_view word, const QuoteStyle& style) {
    std::string out(1, style.mark);
    std::size_t i = 0;
    while (i < word.size() && i < style.maxBytes) {
        const auto c = static_cast<unsigned char>(word[i]);
        const bool special = c == '\\' || c == static_cast<unsigned char>(style.mark);
        if (c >= 0x20 && c < 0x7F && (style.doubleBackslash || !special)) {
            if (c == '\\') out += '\\';
            out += static_cast<char>(c);
            ++i;
        } else if (std::size_t length = style.keepUtf8 ? utf8SequenceLength(word, i) : 0; length > 0) {
            if (i + length > style.maxBytes) break;  // not half a character
            out.append(word.substr(i, length));
            i += length;
        } else {
            char escape[8];
            std::snprintf(escape, sizeof escape, "\\x%02X", c);
            out += escape;
            ++i;
        }
    }
    if (i < word.size()) out += style.tellSize ? "... (" + std::to_string(word.size()) + " bytes)" : std::string("...");
    return out + style.mark;
}

}  // namespace orrery::memory
