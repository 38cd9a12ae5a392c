// The class of QuilletCommand.dll: the command Windows 11 shows at the top of its context menu.
// Its CLSID is fixed: the package that declares the command names it.
#pragma once
#include <windows.h>

namespace quillet {

// {5BD9714D-3358-4677-BA52-7E98E2ED0814}
inline constexpr CLSID CLSID_QuilletCommand = {
    0x5BD9714D, 0x3358, 0x4677, {0xBA, 0x52, 0x7E, 0x98, 0xE2, 0xED, 0x08, 0x14}};

} // namespace quillet
