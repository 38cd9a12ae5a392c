// The C++ runtime this module links statically sets memory aside when the module loads, for
// exceptions thrown when memory runs out, and never gives it back: a host that loads and frees
// the module again and again (Explorer, the COM surrogate) would lose about 73 KiB each time.
#pragma once
#include <version> // says which C++ runtime this is

#if defined(__GLIBCXX__)
namespace __gnu_cxx {
void __freeres(); // NOLINT(bugprone-reserved-identifier): the runtime's own release of that reserve
}
#endif

namespace quillet {

// Only while the module is being freed: after it, an exception must not meet a shortage of memory.
inline void ReleaseRuntimeReserve()
{
#if defined(__GLIBCXX__)
    __gnu_cxx::__freeres();
#endif
}

} // namespace quillet
