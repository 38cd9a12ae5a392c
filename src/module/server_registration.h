// Registration of the COM class (from the script resource) and of the type library.
#pragma once
#include <windows.h>

namespace quillet {

HRESULT RegisterServerEntries();
HRESULT UnregisterServerEntries();

} // namespace quillet
