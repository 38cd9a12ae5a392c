#include "platform/os_version.h"

#include <atomic>

namespace quillet {
namespace {

// -1: not yet known. Threads that ask at once may each compute it; all store the same answer.
std::atomic<LONG> g_nativeOs64Bit{-1};

OSVERSIONINFOW QueryVersion()
{
    OSVERSIONINFOW info = {};
    info.dwOSVersionInfoSize = sizeof(info);
#if defined(_MSC_VER)
#pragma warning(suppress : 4996) // the manifest-independent answer is the one wanted here
    GetVersionExW(&info);
#else
    GetVersionExW(&info);
#endif
    return info;
}

bool NativeOs64Bit()
{
    // Only a gate: a system that answers neither form is not examined further.
    OSVERSIONINFOEXW extended = {};
    extended.dwOSVersionInfoSize = sizeof(OSVERSIONINFOEXW);
    if (!GetVersionExW(reinterpret_cast<OSVERSIONINFOW*>(&extended))) {
        OSVERSIONINFOW basic = {};
        basic.dwOSVersionInfoSize = sizeof(OSVERSIONINFOW);
        if (!GetVersionExW(&basic))
            return false;
    }

    using GetNativeSystemInfoFn = void(WINAPI*)(LPSYSTEM_INFO);
    auto getNativeSystemInfo = reinterpret_cast<GetNativeSystemInfoFn>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"kernel32.dll"), "GetNativeSystemInfo")));
    if (!getNativeSystemInfo)
        return false;
    SYSTEM_INFO system = {};
    getNativeSystemInfo(&system);
    return system.wProcessorArchitecture == PROCESSOR_ARCHITECTURE_AMD64 ||
           system.wProcessorArchitecture == PROCESSOR_ARCHITECTURE_IA64;
}

} // namespace

bool IsNativeOs64Bit()
{
    LONG known = g_nativeOs64Bit.load();
    if (known < 0) {
        // Stored once, whole: no other thread may see a half-made answer.
        known = NativeOs64Bit() ? 1 : 0;
        g_nativeOs64Bit.store(known);
    }
    return known != 0;
}

bool IsWindowsXP()
{
    const OSVERSIONINFOW info = QueryVersion();
    return info.dwMajorVersion == 5 && info.dwMinorVersion == 1;
}

bool IsVistaOrLater()
{
    return QueryVersion().dwMajorVersion >= 6;
}

} // namespace quillet
