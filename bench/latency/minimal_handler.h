// The least a context-menu handler can do: take the selection and insert one string item.
#pragma once
#include <windows.h>
#include <shlobj.h>

HRESULT CreateMinimalHandler(REFIID riid, void** ppv);
