// What the parsers' headers and files take from <windows.h>, for the native build only. The
// resource calls are there to link: the native fuzzer never loads a table from a module.
#pragma once
#include <cstdint>

using DWORD = std::uint32_t;
using UINT = unsigned int;
using HRESULT = std::int32_t;
using LPCWSTR = const wchar_t*;
using HINSTANCE = struct HINSTANCE__*;
using HRSRC = void*;
using HGLOBAL = void*;
#define MAKEINTRESOURCEW(id) reinterpret_cast<LPCWSTR>(static_cast<std::uintptr_t>(id))
#define ERROR_INVALID_DATA 13L
#define __HRESULT_FROM_WIN32(x) static_cast<HRESULT>(((x) & 0x0000FFFF) | 0x80070000)
inline HRSRC FindResourceW(HINSTANCE, LPCWSTR, LPCWSTR) { return nullptr; }
inline DWORD SizeofResource(HINSTANCE, HRSRC) { return 0; }
inline HGLOBAL LoadResource(HINSTANCE, HRSRC) { return nullptr; }
inline void* LockResource(HGLOBAL) { return nullptr; }
