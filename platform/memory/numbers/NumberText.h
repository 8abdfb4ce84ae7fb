#pragma once
// Floating-point numbers to and from text, the same on every toolchain.
//
// std::from_chars and std::to_chars for float and double where the standard library has them
// (__cpp_lib_to_chars); elsewhere (emscripten's libc++ declares them deleted) a portable path
// that gives the same results: the grammar checked here, the conversion by strtod/strtof on a
// copy of the matched text, and the shortest text found by printing ever more digits until
// they read back. Every other file uses these functions, never the floating-point overloads of
// <charconv> themselves.
//
// Behaviour and limitations of the portable path: it reads with the C library, so the "C"
// numeric locale must be in force (it always is in the browser); hexadecimal formats are not
// offered by either path.

#include <charconv>
#include <system_error>

namespace orrery::numbers {

/// Reads a number at the start of [first, last) as std::from_chars does: `format` general,
/// fixed or scientific; no leading '+' or white space; "inf", "infinity", "nan" and "nan(...)"
/// in any case. On success `ptr` is just past the number and `value` holds it; with no number
/// `ec` is invalid_argument and `ptr` is `first`; a number the type cannot hold gives
/// result_out_of_range with `value` unchanged.
std::from_chars_result readNumber(const char* first, const char* last, double& value,
                                  std::chars_format format = std::chars_format::general);
std::from_chars_result readNumber(const char* first, const char* last, float& value,
                                  std::chars_format format = std::chars_format::general);

/// Writes the shortest text that reads back as `value`, fixed or scientific notation,
/// whichever is shorter (fixed on a tie), as std::to_chars(first, last, value) does: "0.1",
/// "1e+22", "190944592", "-inf", "nan". When it does not fit, `ec` is value_too_large and `ptr`
/// is `last`.
std::to_chars_result writeNumber(char* first, char* last, double value);
std::to_chars_result writeNumber(char* first, char* last, float value);

/// The portable path itself, whatever the standard library offers; tested against the standard
/// library where it has the floating-point overloads.
namespace portable {
std::from_chars_result readNumber(const char* first, const char* last, double& value, std::chars_format format);
std::from_chars_result readNumber(const char* first, const char* last, float& value, std::chars_format format);
std::to_chars_result writeNumber(char* first, char* last, double value);
std::to_chars_result writeNumber(char* first, char* last, float value);
}  // namespace portable

}  // namespace orrery::numbers
