// Bytes placed so that their last one is the last readable byte: one byte further faults. With
// slack, that many bytes of 0xFF come between: a read past the bytes then sees no zero there.
#pragma once
#include <windows.h>

#include <cstring>

namespace quillet::test {

class GuardedBlock {
public:
    GuardedBlock(const void* bytes, size_t size, size_t slack = 0)
    {
        const size_t page = 4096, pages = (size + slack + page - 1) / page + 1;
        m_base = static_cast<BYTE*>(VirtualAlloc(nullptr, pages * page, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE));
        DWORD old = 0;
        VirtualProtect(m_base + (pages - 1) * page, page, PAGE_NOACCESS, &old);
        m_data = m_base + (pages - 1) * page - size - slack;
        std::memset(m_data + size, 0xFF, slack);
        if (size)
            std::memcpy(m_data, bytes, size);
    }
    ~GuardedBlock() { VirtualFree(m_base, 0, MEM_RELEASE); }
    GuardedBlock(const GuardedBlock&) = delete;
    GuardedBlock& operator=(const GuardedBlock&) = delete;
    BYTE* Data() const { return m_data; }

private:
    BYTE *m_base = nullptr, *m_data = nullptr;
};

} // namespace quillet::test
