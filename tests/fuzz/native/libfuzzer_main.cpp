// libFuzzer's entry to the targets that also compile natively, with AddressSanitizer and
// UndefinedBehaviorSanitizer (scripts/fuzz builds and runs it with clang).
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "fuzz/targets.h"

void quillet::fuzz::Require(bool kept, const char* promise)
{
    if (!kept) {
        std::fprintf(stderr, "broken: %s\n", promise);
        std::abort();
    }
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    quillet::fuzz::Parsers({reinterpret_cast<const char*>(data), size});
    return 0;
}
