// One small owner per kind of Windows handle, each shaped like unique_ptr.
#pragma once
#include <windows.h>
#include <objidl.h>
#include <ole2.h>

#include <cstdio>
#include <utility>

namespace quillet {

template <typename Handle, void (*Close)(Handle), Handle Invalid = Handle{}>
class UniqueHandle {
public:
    UniqueHandle() = default;
    explicit UniqueHandle(Handle handle) : m_handle(handle) {}
    ~UniqueHandle() { reset(); }
    UniqueHandle(UniqueHandle&& other) noexcept : m_handle(other.release()) {}
    UniqueHandle& operator=(UniqueHandle&& other) noexcept
    {
        if (this != &other)
            reset(other.release());
        return *this;
    }
    UniqueHandle(const UniqueHandle&) = delete;
    UniqueHandle& operator=(const UniqueHandle&) = delete;

    Handle get() const { return m_handle; }
    explicit operator bool() const { return m_handle != Invalid; }
    Handle* put()
    {
        reset();
        return &m_handle;
    }
    Handle release() { return std::exchange(m_handle, Invalid); }
    void reset(Handle handle = Invalid)
    {
        Handle old = std::exchange(m_handle, handle);
        if (old != Invalid)
            Close(old);
    }

private:
    Handle m_handle = Invalid;
};

namespace detail {
inline void CloseRegKey(HKEY key) { RegCloseKey(key); }
inline void CloseKernelHandle(HANDLE handle) { CloseHandle(handle); }
inline void DeleteGdiBitmap(HBITMAP bitmap) { DeleteObject(bitmap); }
inline void DeleteGdiFont(HFONT font) { DeleteObject(font); }
inline void DeleteMemoryDc(HDC dc) { DeleteDC(dc); }
inline void FreeGlobal(HGLOBAL block) { GlobalFree(block); }
inline void UnloadLibrary(HMODULE module) { FreeLibrary(module); }
inline void CloseCrtFile(FILE* file) { std::fclose(file); }
inline void FreeCoTaskString(wchar_t* text) { CoTaskMemFree(text); }
} // namespace detail

using UniqueRegKey = UniqueHandle<HKEY, &detail::CloseRegKey>;
using UniqueKernelHandle = UniqueHandle<HANDLE, &detail::CloseKernelHandle>;
using UniqueBitmap = UniqueHandle<HBITMAP, &detail::DeleteGdiBitmap>;
using UniqueFont = UniqueHandle<HFONT, &detail::DeleteGdiFont>;
using UniqueMemoryDc = UniqueHandle<HDC, &detail::DeleteMemoryDc>;
using UniqueGlobal = UniqueHandle<HGLOBAL, &detail::FreeGlobal>;
using UniqueLibrary = UniqueHandle<HMODULE, &detail::UnloadLibrary>;
// A runtime-library stream (fopen family).
using UniqueCrtFile = UniqueHandle<FILE*, &detail::CloseCrtFile>;
// A string the shell allocated with CoTaskMemAlloc (GetDisplayName and the like).
using UniqueCoTaskString = UniqueHandle<wchar_t*, &detail::FreeCoTaskString>;

// A file handle, whose "no handle" value is INVALID_HANDLE_VALUE.
class UniqueFileHandle {
public:
    UniqueFileHandle() = default;
    explicit UniqueFileHandle(HANDLE handle) : m_handle(handle) {}
    ~UniqueFileHandle() { reset(); }
    UniqueFileHandle(const UniqueFileHandle&) = delete;
    UniqueFileHandle& operator=(const UniqueFileHandle&) = delete;
    HANDLE get() const { return m_handle; }
    explicit operator bool() const { return m_handle != INVALID_HANDLE_VALUE && m_handle != nullptr; }
    void reset(HANDLE handle = INVALID_HANDLE_VALUE)
    {
        HANDLE old = std::exchange(m_handle, handle);
        if (old != INVALID_HANDLE_VALUE && old != nullptr)
            CloseHandle(old);
    }

private:
    HANDLE m_handle = INVALID_HANDLE_VALUE;
};

// A window's DC from GetDC, given back with ReleaseDC.
class WindowDc {
public:
    explicit WindowDc(HWND window) : m_window(window), m_dc(GetDC(window)) {}
    ~WindowDc()
    {
        if (m_dc)
            ReleaseDC(m_window, m_dc);
    }
    WindowDc(const WindowDc&) = delete;
    WindowDc& operator=(const WindowDc&) = delete;
    HDC get() const { return m_dc; }
    explicit operator bool() const { return m_dc != nullptr; }

private:
    HWND m_window;
    HDC m_dc;
};

// An object selected into a DC for a scope; the previous one comes back at its end.
class SelectionScope {
public:
    SelectionScope(HDC dc, HGDIOBJ object) : m_dc(dc), m_old(object ? SelectObject(dc, object) : nullptr) {}
    ~SelectionScope()
    {
        if (m_old)
            SelectObject(m_dc, m_old);
    }
    SelectionScope(const SelectionScope&) = delete;
    SelectionScope& operator=(const SelectionScope&) = delete;

private:
    HDC m_dc;
    HGDIOBJ m_old;
};

// A critical section owned for the object's life.
class CriticalSection {
public:
    CriticalSection() { InitializeCriticalSection(&m_section); }
    ~CriticalSection() { DeleteCriticalSection(&m_section); }
    CriticalSection(const CriticalSection&) = delete;
    CriticalSection& operator=(const CriticalSection&) = delete;
    CRITICAL_SECTION& get() { return m_section; }

private:
    CRITICAL_SECTION m_section;
};

// A critical section held for a scope.
class CriticalSectionScope {
public:
    explicit CriticalSectionScope(CRITICAL_SECTION& section) : m_section(section) { EnterCriticalSection(&m_section); }
    ~CriticalSectionScope() { LeaveCriticalSection(&m_section); }
    CriticalSectionScope(const CriticalSectionScope&) = delete;
    CriticalSectionScope& operator=(const CriticalSectionScope&) = delete;

private:
    CRITICAL_SECTION& m_section;
};

// GlobalLock for a scope.
template <typename T>
class GlobalLockScope {
public:
    explicit GlobalLockScope(HGLOBAL block) : m_block(block), m_data(static_cast<T*>(GlobalLock(block))) {}
    ~GlobalLockScope()
    {
        if (m_data)
            GlobalUnlock(m_block);
    }
    GlobalLockScope(const GlobalLockScope&) = delete;
    GlobalLockScope& operator=(const GlobalLockScope&) = delete;
    T* get() const { return m_data; }

private:
    HGLOBAL m_block;
    T* m_data;
};

// A medium from IDataObject::GetData, released with ReleaseStgMedium.
class UniqueStgMedium {
public:
    UniqueStgMedium() = default;
    ~UniqueStgMedium() { reset(); }
    UniqueStgMedium(const UniqueStgMedium&) = delete;
    UniqueStgMedium& operator=(const UniqueStgMedium&) = delete;
    STGMEDIUM* put()
    {
        reset();
        return &m_medium;
    }
    STGMEDIUM& get() { return m_medium; }
    void reset()
    {
        if (m_medium.tymed != TYMED_NULL)
            ReleaseStgMedium(&m_medium);
        m_medium = {};
    }

private:
    STGMEDIUM m_medium = {};
};

} // namespace quillet
