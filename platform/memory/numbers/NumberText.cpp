#include "platform/memory/numbers/NumberText.h"

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstdint>
#include <cstring>
#include <string>
#include <type_traits>

namespace orrery::numbers {

namespace portable {
namespace {

bool isDigit(char c) { return c >= '0' && c <= '9'; }
char lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }
bool isNanChar(char c) { return isDigit(c) || (lower(c) >= 'a' && lower(c) <= 'z') || c == '_'; }

/// Whether [p, last) starts with the lower-case `word`, in any case.
bool startsWith(const char* p, const char* last, const char* word) {
    for (; *word; ++p, ++word)
        if (p == last || lower(*p) != *word) return false;
    return true;
}

bool has(std::chars_format format, std::chars_format part) { return (format & part) == part; }

/// Where the number at `first` ends under from_chars' grammar for `format`; null when none starts there.
const char* numberEnd(const char* first, const char* last, std::chars_format format) {
    const char* p = first;
    if (p != last && *p == '-') ++p;
    if (startsWith(p, last, "inf")) return startsWith(p, last, "infinity") ? p + 8 : p + 3;
    if (startsWith(p, last, "nan")) {
        p += 3;
        if (p != last && *p == '(') {
            const char* q = p + 1;
            while (q != last && isNanChar(*q)) ++q;
            if (q != last && *q == ')') return q + 1;
        }
        return p;
    }
    bool digits = false;
    for (; p != last && isDigit(*p); ++p) digits = true;
    if (p != last && *p == '.')
        for (++p; p != last && isDigit(*p); ++p) digits = true;
    if (!digits) return nullptr;
    if (has(format, std::chars_format::scientific) && p != last && lower(*p) == 'e') {
        const char* q = p + 1;
        if (q != last && (*q == '+' || *q == '-')) ++q;
        if (q != last && isDigit(*q)) {
            while (q != last && isDigit(*q)) ++q;
            return q;
        }
    }
    // Scientific alone needs its exponent.
    if (!has(format, std::chars_format::fixed)) return nullptr;
    return p;
}

template <class T>
T parse(const std::string& text) {
    if constexpr (std::is_same_v<T, float>)
        return std::strtof(text.c_str(), nullptr);
    else
        return std::strtod(text.c_str(), nullptr);
}

template <class T>
std::from_chars_result read(const char* first, const char* last, T& value, std::chars_format format) {
    const char* end = numberEnd(first, last, format);
    if (!end) return {first, std::errc::invalid_argument};
    const std::string text(first, end);
    errno = 0;
    const T parsed = parse<T>(text);
    // The C library also says ERANGE for results among the subnormals; only a result that left
    // the type (to infinity or to zero) is out of range.
    if (errno == ERANGE && (std::isinf(parsed) || parsed == 0)) return {end, std::errc::result_out_of_range};
    value = parsed;
    return {end, std::errc()};
}

template <class T>
bool readsBack(const char* text, T value) {
    return parse<T>(text) == value;
}

/// A decimal significand (digits, no trailing zeros unless it is "0") and the exponent of its
/// first digit: {"15", -3} is 1.5e-03.
struct Decimal {
    std::string digits;
    int exponent;
};

std::string scientificText(const Decimal& d) {
    std::string text = d.digits.substr(0, 1);
    // Built by appends: GCC 12 at -O3 warns falsely (-Wrestrict) about "." + a temporary string.
    if (d.digits.size() > 1) text.append(".").append(d.digits, 1);
    char exponentText[16];
    std::snprintf(exponentText, sizeof exponentText, "e%c%02d", d.exponent < 0 ? '-' : '+', std::abs(d.exponent));
    return text + exponentText;
}

/// `d` with `step` (+1 or -1) added to its last digit, renormalised.
Decimal neighbour(const Decimal& d, int step) {
    const std::uint64_t next = std::stoull(d.digits) + static_cast<std::uint64_t>(step);
    Decimal out{std::to_string(next),
                d.exponent + static_cast<int>(std::to_string(next).size()) - static_cast<int>(d.digits.size())};
    while (out.digits.size() > 1 && out.digits.back() == '0') out.digits.pop_back();
    return out;
}

/// The fewest significant digits of a finite, positive value that read back as it. At each
/// length the correctly rounded digits come first; where the value's neighbours are unevenly
/// far (at powers of two) the next digits up or down may read back when those do not.
template <class T>
Decimal shortestDecimal(T value) {
    constexpr int kMostDigits = std::is_same_v<T, float> ? 9 : 17;
    for (int count = 1;; ++count) {
        char text[64];
        std::snprintf(text, sizeof text, "%.*e", count - 1, static_cast<double>(value));
        Decimal rounded{{}, std::atoi(std::strchr(text, 'e') + 1)};
        for (const char* p = text; *p != 'e'; ++p)
            if (isDigit(*p)) rounded.digits += *p;
        if (count == kMostDigits) return rounded;
        for (const Decimal& candidate : {rounded, neighbour(rounded, -1), neighbour(rounded, 1)})
            if (static_cast<int>(candidate.digits.size()) <= count &&
                readsBack(scientificText(candidate).c_str(), value))
                return candidate;
    }
}

/// The shortest text of a finite, non-zero value: fixed or scientific notation, whichever is
/// shorter, fixed on a tie.
template <class T>
std::string shortest(T value) {
    const Decimal d = shortestDecimal(std::fabs(value));
    const std::string sci = scientificText(d);
    std::string fixed;
    const int count = static_cast<int>(d.digits.size());
    if (d.exponent >= count - 1) {
        // A whole number: written with every digit of its exact value.
        char whole[400];
        std::snprintf(whole, sizeof whole, "%.0f", std::fabs(static_cast<double>(value)));
        fixed = whole;
    } else if (d.exponent >= 0) {
        const auto point = static_cast<std::size_t>(d.exponent) + 1;
        fixed = d.digits.substr(0, point) + "." + d.digits.substr(point);
    } else {
        fixed = "0." + std::string(static_cast<std::size_t>(-d.exponent - 1), '0') + d.digits;
    }
    return (value < 0 ? "-" : "") + (fixed.size() <= sci.size() ? fixed : sci);
}

template <class T>
std::to_chars_result write(char* first, char* last, T value) {
    std::string text;
    if (std::isnan(value))
        text = std::signbit(value) ? "-nan" : "nan";
    else if (std::isinf(value))
        text = value < 0 ? "-inf" : "inf";
    else if (value == 0)
        text = std::signbit(value) ? "-0" : "0";
    else
        text = shortest(value);
    if (text.size() > static_cast<std::size_t>(last - first)) return {last, std::errc::value_too_large};
    std::memcpy(first, text.data(), text.size());
    return {first + text.size(), std::errc()};
}

}  // namespace

std::from_chars_result readNumber(const char* first, const char* last, double& value, std::chars_format format) {
    return read(first, last, value, format);
}
std::from_chars_result readNumber(const char* first, const char* last, float& value, std::chars_format format) {
    return read(first, last, value, format);
}
std::to_chars_result writeNumber(char* first, char* last, double value) { return write(first, last, value); }
std::to_chars_result writeNumber(char* first, char* last, float value) { return write(first, last, value); }

}  // namespace portable

#if defined(__cpp_lib_to_chars)
std::from_chars_result readNumber(const char* first, const char* last, double& value, std::chars_format format) {
    return std::from_chars(first, last, value, format);
}
std::from_chars_result readNumber(const char* first, const char* last, float& value, std::chars_format format) {
    return std::from_chars(first, last, value, format);
}
std::to_chars_result writeNumber(char* first, char* last, double value) { return std::to_chars(first, last, value); }
std::to_chars_result writeNumber(char* first, char* last, float value) { return std::to_chars(first, last, value); }
#else
std::from_chars_result readNumber(const char* first, const char* last, double& value, std::chars_format format) {
    return portable::readNumber(first, last, value, format);
}
std::from_chars_result readNumber(const char* first, const char* last, float& value, std::chars_format format) {
    return portable::readNumber(first, last, value, format);
}
std::to_chars_result writeNumber(char* first, char* last, double value) {
    return portable::writeNumber(first, last, value);
}
std::to_chars_result writeNumber(char* first, char* last, float value) {
    return portable::writeNumber(first, last, value);
}
#endif

}  // namespace orrery::numbers
