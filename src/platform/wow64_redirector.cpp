#include "platform/wow64_redirector.h"

#include "platform/os_version.h"

namespace quillet {
namespace {

using Wow64RedirectionFn = BOOL(WINAPI*)(PVOID*);

template <typename Fn>
Fn Lookup(HMODULE module, const char* name)
{
    return reinterpret_cast<Fn>(reinterpret_cast<void*>(GetProcAddress(module, name)));
}

} // namespace

CWow64FsRedirector::CWow64FsRedirector() : m_active(IsNativeOs64Bit())
{
    if (!m_active)
        return;
    m_kernel.reset(LoadLibraryW(L"Kernel32.dll"));
    if (!m_kernel)
        return;
    if (auto disable = Lookup<Wow64RedirectionFn>(m_kernel.get(), "Wow64DisableWow64FsRedirection"))
        disable(&m_savedValue); // fails harmlessly in a 64-bit process
}

CWow64FsRedirector::~CWow64FsRedirector()
{
    if (!m_kernel)
        return;
    // Given the address of the saved value rather than the value: in a 64-bit process, the
    // only kind this module is built as, neither call changes anything.
    if (m_active) {
        if (auto revert = Lookup<Wow64RedirectionFn>(m_kernel.get(), "Wow64RevertWow64FsRedirection"))
            revert(reinterpret_cast<PVOID*>(&m_savedValue));
    }
}

} // namespace quillet
