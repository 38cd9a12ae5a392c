#include "support/handler_access.h"

#include "module/handler_objects.h"

namespace quillet::test {

Microsoft::WRL::ComPtr<IContextMenu3> MakeHandler()
{
    Microsoft::WRL::ComPtr<IContextMenu3> menu;
    if (FAILED(CreatePlainHandler(nullptr, IID_IContextMenu3, reinterpret_cast<void**>(menu.GetAddressOf()))))
        return nullptr;
    return menu;
}

CSDKelMN& HandlerOf(IContextMenu3* menu)
{
    return *static_cast<CSDKelMN*>(menu);
}

} // namespace quillet::test
