// What scripts/fuzz runs. Each target takes any bytes; a promise the code broke goes to Require,
// which each fuzzing program defines its own way.
#pragma once
#include <algorithm>
#include <cstring>
#include <string_view>

namespace quillet::fuzz {

void Require(bool kept, const char* promise);

// The next T of the input (zeros past its end), taken off its front.
template <typename T>
T Take(std::string_view& input)
{
    T value{};
    const size_t size = std::min(sizeof(T), input.size());
    std::memcpy(&value, input.data(), size);
    input.remove_prefix(size);
    return value;
}

// The two parsers of embedded text. The input's first two bytes are a length; the rest, as 16-bit
// characters, is the caption table, and is also a module path of that length followed by a
// registration script.
void Parsers(std::string_view input);

} // namespace quillet::fuzz
