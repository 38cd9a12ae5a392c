// The two concrete forms of the handler: standalone and aggregated.
#pragma once
#include <windows.h>
#include <unknwn.h>

namespace quillet {

HRESULT CreatePlainHandler(IUnknown* outer, REFIID riid, void** ppv);
HRESULT CreateAggregatedHandler(IUnknown* outer, REFIID riid, void** ppv);

} // namespace quillet
