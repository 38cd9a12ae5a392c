// One reference count for every interface of Base; deleted at zero. Header only: the
// benchmarks' stand-in handler DLLs use it without linking the helpers.
#pragma once
#include <windows.h>

namespace quillet::test {

template <typename Base>
class Counted : public Base {
public:
    Counted() = default;
    virtual ~Counted() = default;
    Counted(const Counted&) = delete;
    Counted& operator=(const Counted&) = delete;
    STDMETHODIMP_(ULONG) AddRef() override { return ++m_refs; }
    STDMETHODIMP_(ULONG) Release() override
    {
        const ULONG refs = --m_refs;
        if (refs == 0)
            delete this;
        return refs;
    }

private:
    ULONG m_refs = 1;
};

} // namespace quillet::test
