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

CWow64FsRedirector::CWow64FsRedirector()
{
    m_savedValue = nullptr;
    m_active = IsNativeOs64Bit();
    if (!m_active)
        return;
    m_kernel = LoadLibraryW(L"Kernel32.dll");
    if (!m_kernel)
        return;
    if (auto disable = Lookup<Wow64RedirectionFn>(m_kernel, "Wow64DisableWow64FsRedirection"))
        disable(&m_savedValue); // fails harmlessly in a 64-bit process
}

CWow64FsRedirector::~CWow64FsRedirector()
{
    if (!m_kernel)
        return;
    if (m_active) {
        // The address of the saved value, as the redirection has always been reverted here;
        // in a 64-bit process neither call changes anything.
        if (auto revert = Lookup<Wow64RedirectionFn>(m_kernel, "Wow64RevertWow64FsRedirection"))
            revert(reinterpret_cast<PVOID*>(&m_savedValue));
    }
    FreeLibrary(m_kernel);
    m_kernel = nullptr;
    m_savedValue = nullptr;
}

} // namespace quillet
