#include "platform/memory/collada/ColladaNumbers.h"
#include "platform/memory/numbers/NumberText.h"

#include "platform/memory/text/Quoting.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>

namespace orrery::memory::collada {

namespace {

constexpr std::size_t kMaxQuoted = 24;  // bytes of a word quoted in a message

inline bool isSpace(char c) { return c == ' ' || c == '\n' || c == '\r' || c == '\t'; }
inline bool isDigit(char c) { return static_cast<unsigned char>(c - '0') < 10; }

/// Reads one decimal number at `p` in a NUL-terminated text (`p` is not whitespace).
/// Numbers of up to 15 significant digits with a small exponent, the forms model files
/// use, are converted by one exact double operation; anything else goes to from_chars.
/// Returns the end of the number, or null when it is not a finite float.
const char* readFloat(const char* p, float& out) {
    static constexpr double kPowers[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,  1e10, 1e11,
                                         1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
    const char* const start = p;
    const bool negative = *p == '-';
    if (*p == '-' || *p == '+') ++p;
    std::uint64_t mantissa = 0;
    const char* const integerStart = p;
    while (isDigit(*p)) mantissa = mantissa * 10 + static_cast<unsigned>(*p++ - '0');
    int digits = static_cast<int>(p - integerStart);
    int scale = 0;
    if (*p == '.') {
        const char* const fractionStart = ++p;
        while (isDigit(*p)) mantissa = mantissa * 10 + static_cast<unsigned>(*p++ - '0');
        scale = -static_cast<int>(p - fractionStart);
        digits -= scale;
    }
    if (digits == 0) return nullptr;
    const bool exact = digits <= 15;  // leading zeros count here, which only sends more numbers the slow way
    if (*p == 'e' || *p == 'E') {
        ++p;
        const bool negativeExponent = *p == '-';
        if (*p == '-' || *p == '+') ++p;
        if (!isDigit(*p)) return nullptr;
        int exponent = 0;
        while (isDigit(*p)) {
            if (exponent < 100000) exponent = exponent * 10 + (*p - '0');
            ++p;
        }
        scale += negativeExponent ? -exponent : exponent;
    }
    if (exact && scale >= -22 && scale <= 22) {
        // Below 1e15 times 1e22: far inside the range of floats.
        const double magnitude = scale < 0 ? static_cast<double>(mantissa) / kPowers[-scale]
                                           : static_cast<double>(mantissa) * kPowers[scale];
        out = static_cast<float>(negative ? -magnitude : magnitude);
        return p;
    }
    const char* const from = *start == '+' ? start + 1 : start;
    const auto [next, ec] = numbers::readNumber(from, p, out);
    if (ec != std::errc() || next != p || !std::isfinite(out)) return nullptr;
    return p;
}

/// The whitespace-delimited word at `p`.
std::string_view wordAt(const char* p) {
    const char* end = p;
    while (*end != '\0' && !isSpace(*end)) ++end;
    return {p, static_cast<std::size_t>(end - p)};
}

bool tooMany(std::size_t most, std::string* why) {
    if (why) *why = "more than " + std::to_string(most) + " numbers in one list";
    return false;
}

/// Empties `out` and makes room for the `expected` values, up to a bound that a wrong count cannot exceed.
template <class Value>
void startList(std::vector<Value>& out, std::size_t expected) {
    out.clear();
    out.reserve(std::min(expected, kMaxReserve));
}

}  // namespace

bool parseFloats(const char* p, std::vector<float>& out, std::size_t expected, std::string* why, std::size_t most) {
    startList(out, expected);
    while (true) {
        while (isSpace(*p)) ++p;
        if (*p == '\0') return true;
        float value{};
        const char* const word = p;
        p = readFloat(p, value);
        if (!p || (*p != '\0' && !isSpace(*p))) {
            if (why) *why = quoted(wordAt(word)) + " is not a finite 32-bit number";
            return false;
        }
        if (out.size() >= most) return tooMany(most, why);
        out.push_back(value);
    }
}

bool parseIndices(const char* p, std::vector<std::uint32_t>& out, std::size_t expected, std::string* why,
                  std::size_t most) {
    startList(out, expected);
    while (true) {
        while (isSpace(*p)) ++p;
        if (*p == '\0') return true;
        const char* const first = p;
        std::uint64_t value = 0;
        // Ten digits hold every 32-bit index; an eleventh is left unread and fails as a non-space.
        while (isDigit(*p) && p - first < 10) value = value * 10 + static_cast<unsigned>(*p++ - '0');
        if (p == first || value > std::numeric_limits<std::uint32_t>::max() || (*p != '\0' && !isSpace(*p))) {
            if (why) *why = quoted(wordAt(first)) + " is not an index";
            return false;
        }
        if (out.size() >= most) return tooMany(most, why);
        out.push_back(static_cast<std::uint32_t>(value));
    }
}

std::string quoted(std::string_view word) {
    return memory::quoted(
        word, {.mark = '"', .maxBytes = kMaxQuoted, .keepUtf8 = false, .doubleBackslash = false, .tellSize = false});
}

}  // namespace orrery::memory::collada
