// Reads a transfer-list file as the sender sees it, and says precisely what is wrong with a bad one.
#pragma once
#include <string>
#include <vector>

struct TransferList {
    std::vector<std::wstring> files;
    std::vector<std::wstring> folders;
};

// Returns "" on success, else a one-line description of the first problem found.
std::wstring ParseTransferList(const std::string& bytes, TransferList& list);
