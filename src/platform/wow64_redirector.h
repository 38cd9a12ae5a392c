// Scope guard that turns WOW64 file-system redirection off for the calling thread.
#pragma once
#include <windows.h>

#include "platform/handles.h"

namespace quillet {

class CWow64FsRedirector {
public:
    CWow64FsRedirector();
    virtual ~CWow64FsRedirector();
    CWow64FsRedirector(const CWow64FsRedirector&) = delete;
    CWow64FsRedirector& operator=(const CWow64FsRedirector&) = delete;

private:
    UniqueLibrary m_kernel;
    PVOID m_savedValue = nullptr;
    const bool m_active; // on a 64-bit system only
};

} // namespace quillet
