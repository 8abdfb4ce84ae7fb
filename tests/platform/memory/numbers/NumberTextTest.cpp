// The number-text helper: known texts on every toolchain, and where the standard library has the
// floating-point <charconv> overloads, the portable path against them word for word.

#include "platform/memory/numbers/NumberText.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <vector>

namespace orrery::numbers {
namespace {

template <class T>
std::string written(T value, bool portablePath) {
    char buffer[400];
    const auto [end, ec] = portablePath ? portable::writeNumber(buffer, buffer + sizeof buffer, value)
                                        : writeNumber(buffer, buffer + sizeof buffer, value);
    return ec == std::errc() ? std::string(buffer, end) : "<error>";
}

/// What reading `word` gave: how much was read, the error, and the value's bits.
template <class T>
std::string readResult(const std::string& word, std::chars_format format, bool portablePath) {
    T value = T(-7.25);  // unchanged on failure
    const auto [end, ec] = portablePath ? portable::readNumber(word.data(), word.data() + word.size(), value, format)
                                        : readNumber(word.data(), word.data() + word.size(), value, format);
    std::uint64_t bits = 0;
    std::memcpy(&bits, &value, sizeof value);
    return std::to_string(end - word.data()) + " " + std::to_string(static_cast<int>(ec)) + " " + std::to_string(bits);
}

TEST(NumberText, WritesTheShortestTextThatReadsBack) {
    const std::vector<std::pair<double, const char*>> doubles{
        {0.1, "0.1"},    {1e22, "1e+22"},        {-0.0, "-0"},
        {1e-4, "1e-04"}, {1e-3, "0.001"},        {123456.75, "123456.75"},
        {1e-7, "1e-07"}, {2.5e-300, "2.5e-300"}, {std::numeric_limits<double>::infinity(), "inf"},
        {1e21, "1e+21"}};
    for (const auto& [value, text] : doubles)
        for (const bool portablePath : {false, true}) EXPECT_EQ(written(value, portablePath), text) << portablePath;
    const std::vector<std::pair<float, const char*>> floats{
        {0.1f, "0.1"}, {190944592.0f, "190944592"}, {-1.5f, "-1.5"}, {0.5f, "0.5"}};
    for (const auto& [value, text] : floats)
        for (const bool portablePath : {false, true}) EXPECT_EQ(written(value, portablePath), text) << portablePath;

    char small[3];
    EXPECT_EQ(portable::writeNumber(small, small + 3, 0.125).ec, std::errc::value_too_large);
    EXPECT_EQ(writeNumber(small, small + 3, 0.125).ec, std::errc::value_too_large);
}

#if defined(__cpp_lib_to_chars)

TEST(NumberText, PortablePathReadsEveryWordAsTheStandardLibraryDoes) {
    const std::vector<std::string> words{"1",
                                         "-1",
                                         "+1",
                                         ".5",
                                         "5.",
                                         "-.5",
                                         ".",
                                         "-",
                                         "1e",
                                         "1e+",
                                         "1e5",
                                         "1E-5",
                                         "1.5e+3x",
                                         "1e400",
                                         "-1e400",
                                         "1e-400",
                                         "4e-320",
                                         "1e-45",
                                         "1e-46",
                                         "3.4e38",
                                         "3.5e38",
                                         "inf",
                                         "-INF",
                                         "infinity",
                                         "infinit",
                                         "nan",
                                         "NaN(abc)",
                                         "nan(a-b)",
                                         "nan(",
                                         "0x10",
                                         "00012",
                                         "1.000000000000000000000001",
                                         "  1",
                                         "e5",
                                         "",
                                         "0.000",
                                         "123456789012345678901234567890"};
    const std::chars_format formats[] = {std::chars_format::general, std::chars_format::fixed,
                                         std::chars_format::scientific};
    for (const std::string& word : words)
        for (const std::chars_format format : formats) {
            SCOPED_TRACE("'" + word + "' format " + std::to_string(static_cast<int>(format)));
            if (word.starts_with("nan") || word.starts_with("NaN")) {
                // A NaN's payload is the library's own business; the extent and the error are not.
                EXPECT_EQ(readResult<double>(word, format, true).substr(0, 4),
                          readResult<double>(word, format, false).substr(0, 4));
                continue;
            }
            EXPECT_EQ(readResult<double>(word, format, true), readResult<double>(word, format, false));
            EXPECT_EQ(readResult<float>(word, format, true), readResult<float>(word, format, false));
        }
}

TEST(NumberText, PortablePathWritesAndReadsRandomValuesAsTheStandardLibraryDoes) {
    std::mt19937_64 random(20261125);
    std::size_t mismatches = 0;
    for (int i = 0; i < 25000 && mismatches < 10; ++i) {
        // Any bit pattern (every exponent), and values of everyday sizes.
        const std::uint64_t bits = random();
        double d;
        std::memcpy(&d, &bits, sizeof d);
        float f;
        const auto bits32 = static_cast<std::uint32_t>(bits >> 32);
        std::memcpy(&f, &bits32, sizeof f);
        const double everyday = std::ldexp(static_cast<double>(bits % 1000000), static_cast<int>(bits % 40) - 30);
        for (const double value : {d, everyday}) {
            if (std::isnan(value)) continue;
            const std::string text = written(value, false);
            mismatches += written(value, true) != text;
            EXPECT_EQ(written(value, true), text);
            EXPECT_EQ(readResult<double>(text, std::chars_format::general, true),
                      readResult<double>(text, std::chars_format::general, false));
        }
        for (const float value : {f, static_cast<float>(everyday)}) {
            if (std::isnan(value)) continue;
            const std::string text = written(value, false);
            mismatches += written(value, true) != text;
            EXPECT_EQ(written(value, true), text);
            EXPECT_EQ(readResult<float>(text, std::chars_format::general, true),
                      readResult<float>(text, std::chars_format::general, false));
        }
    }
}

#endif

}  // namespace
}  // namespace orrery::numbers
