// A C runtime locale for the calling thread and a scope only.
#pragma once
#include <clocale>
#include <locale.h>
#include <string>

namespace quillet {

// The runtime library is shared with the host and with Windows' own components in the
// process, so a locale set process-wide would change what all of them read and write.
// Where the runtime cannot keep a locale per thread (the system msvcrt.dll cannot), the
// locale is left alone instead.
class ThreadLocaleScope {
public:
    explicit ThreadLocaleScope(const char* name)
    {
        // Copied before anything changes: a copy that fails leaves nothing to undo.
        if (const char* current = std::setlocale(LC_ALL, nullptr))
            m_previousLocale = current;
        m_previousMode = _configthreadlocale(_ENABLE_PER_THREAD_LOCALE);
        if (m_previousMode != -1)
            std::setlocale(LC_ALL, name);
    }
    ~ThreadLocaleScope()
    {
        if (m_previousMode == -1)
            return;
        if (!m_previousLocale.empty())
            std::setlocale(LC_ALL, m_previousLocale.c_str());
        _configthreadlocale(m_previousMode);
    }
    ThreadLocaleScope(const ThreadLocaleScope&) = delete;
    ThreadLocaleScope& operator=(const ThreadLocaleScope&) = delete;

private:
    int m_previousMode = -1;
    std::string m_previousLocale;
};

} // namespace quillet
