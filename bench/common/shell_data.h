// What the benchmarks right-click: the shell's own data object for a path.
#pragma once
#include <windows.h>
#include <objidl.h>

#include <string>

// The shell's own data object for one path, as Explorer hands it to a handler.
HRESULT ShellDataObject(const std::wstring& path, IDataObject** data);
