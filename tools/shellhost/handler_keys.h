// The context-menu handlers registered for an item, read from HKCR as Explorer reads them.
#pragma once
#include <windows.h>

#include <string>
#include <vector>

struct HandlerEntry {
    std::wstring keyClass; // "*", "Directory", "Folder", "lnkfile", ...
    std::wstring name;     // the subkey under ContextMenuHandlers
    CLSID clsid = {};
    std::wstring clsidText;
};

// Classes of an item: "*" and its extension's class for a file, "Directory" and "Folder" for a folder.
std::vector<std::wstring> ClassesOf(const std::wstring& path);
// Handlers under <class>\shellex\ContextMenuHandlers for each class, each CLSID once.
std::vector<HandlerEntry> FindHandlers(const std::vector<std::wstring>& classes);
