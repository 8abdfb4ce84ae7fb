#pragma once
// Number lists as COLLADA writes them: whitespace-separated decimal floats and indices.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace orrery::memory::collada {

/// Most numbers one array or index list may hold.
constexpr std::size_t kMaxListValues = 64u << 20;
/// How far a declared count is trusted when reserving memory ahead of reading.
constexpr std::size_t kMaxReserve = 1u << 20;

/// Parses whitespace-separated finite 32-bit floats from a NUL-terminated text. On anything
/// else, or more than `most` numbers, returns false and says why in `why`.
/// `expected` is the declared count, trusted only to reserve memory.
bool parseFloats(const char* text, std::vector<float>& out, std::size_t expected = 0, std::string* why = nullptr,
                 std::size_t most = kMaxListValues);

/// The same for unsigned 32-bit integers.
bool parseIndices(const char* text, std::vector<std::uint32_t>& out, std::size_t expected = 0,
                  std::string* why = nullptr, std::size_t most = kMaxListValues);

/// A word of the file for a message: at most a short prefix, in double quotes, with
/// bytes that are not printable ASCII written as \xNN.
std::string quoted(std::string_view word);

}  // namespace orrery::memory::collada
