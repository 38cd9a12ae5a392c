#include "module/registrar.h"

namespace quillet {

HRESULT RunRegistrarScript(std::wstring_view, std::span<const RegistrarReplacement>, bool)
{
    return E_NOTIMPL;
}

} // namespace quillet
