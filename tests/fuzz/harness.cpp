// Runs the module's readers of outside input on what scripts/fuzz sends on standard input: records
// of one target byte, a 32-bit length and the input. Target 255 asks for "at <inputs run>". The
// first broken promise, exception or fault prints "failed <index>: <what>" and ends the process;
// scripts/fuzz keeps that input and starts another process for the rest.
#include <windows.h>
#include <fcntl.h>
#include <io.h>
#include <shellapi.h>
#include <shlobj.h>

#include <cstdio>
#include <exception>
#include <optional>
#include <string>
#include <vector>

#include "common/drop_data_object.h"
#include "common/registry.h"
#include "fuzz/targets.h"
#include "handoff/invoke_command.h"
#include "selection/drop_list_reader.h"
#include "sender/sender_installation.h"
#include "support/guarded_block.h"

namespace quillet::fuzz {
namespace {

unsigned long g_index = 0;
// "Path" and "MenuOption", each set for the whole run and restored at its end, failed or not.
std::optional<test::ScopedRegistryValue> g_values[2];

[[noreturn]] void Fail(const char* what)
{
    std::printf("failed %lu: %s\n", g_index, what);
    std::fflush(stdout);
    for (auto& value : g_values)
        value.reset();
    ExitProcess(1);
}

LONG WINAPI OnFault(EXCEPTION_POINTERS* fault)
{
    char what[40];
    std::snprintf(what, sizeof(what), "exception 0x%08lx", fault->ExceptionRecord->ExceptionCode);
    Fail(what);
}

// Any bytes as the drop list, its end against a guard page; DragQueryFileW reads a copy followed by
// the zeros the reader takes to follow the block, wherever its walk stays inside that copy.
void DropList(std::string_view input)
{
    // Every other list ends a byte before the guard: the other parity of its address for the same size.
    static unsigned lists = 0;
    const test::GuardedBlock block(input.data(), input.size(), lists++ % 2);
    DropListReader reader(block.Data(), input.size());
    // With the list said to close inside the block, DragQueryFileW walks the block itself: a wrong
    // claim faults. (Wine locks a pointer as a fixed block only when bit 1 of its address is clear,
    // so the answer itself is not compared.)
    CountDropList(reinterpret_cast<HDROP>(block.Data()), reader);
    const UINT count = reader.QueryFile(0xFFFFFFFF, nullptr, 0); // the count query
    std::vector<BYTE> padded(input.begin(), input.end());
    padded.resize(std::max(input.size(), sizeof(DROPFILES)) + 8);
    const UniqueGlobal copy = test::MakeGlobal(padded);
    const auto drop = static_cast<HDROP>(copy.get());
    const size_t size = input.size();
    const bool comparable = reader.EndsInsideBlock() || Take<DWORD>(input) <= size;
    Require(!comparable || count == DragQueryFileW(drop, 0xFFFFFFFF, nullptr, 0), "count as DragQueryFileW's");
    for (UINT index = 0; index <= std::min(count, 40u); ++index)
        for (const UINT size : {0u, 6u, 300u}) {
            std::wstring mine(size + 1, L'#'), theirs = mine;
            const UINT answer = reader.QueryFile(index, mine.data(), size);
            Require(mine[size] == L'#', "name written past the buffer");
            Require(!comparable || (answer == DragQueryFileW(drop, index, theirs.data(), size) && mine == theirs &&
                                    reader.QueryFile(index, nullptr, size) == DragQueryFileW(drop, index, nullptr, size)),
                    "name as DragQueryFileW's");
        }
}

// Both structure sizes, each ending against a guard page; offsets, narrow and wide verbs.
void Verb(std::string_view input)
{
    static constexpr wchar_t kCaption[] = L"Transferred with Pelloc";
    constexpr DWORD kString = 0xFFFFFFFF; // else an offset, below 0x10000 by masking
    CMINVOKECOMMANDINFOEX info = {};
    info.cbSize = Take<DWORD>(input);
    const DWORD verb = Take<DWORD>(input), wideVerb = Take<DWORD>(input);
    const int state = Take<int>(input);
    const size_t narrowLength = Take<WORD>(input);
    const std::string narrow = std::string(input.substr(0, narrowLength)) + '\0';
    input.remove_prefix(narrow.size() - 1);
    std::wstring wide;
    while (input.size() >= 2)
        wide += static_cast<wchar_t>(Take<WORD>(input));
    const test::GuardedBlock narrowBlock(narrow.c_str(), narrow.size());
    const test::GuardedBlock wideBlock(wide.c_str(), (wide.size() + 1) * sizeof(wchar_t));
    info.lpVerb = verb == kString ? reinterpret_cast<LPCSTR>(narrowBlock.Data()) : MAKEINTRESOURCEA(verb & 0xFFFF);
    info.lpVerbW = wideVerb == kString ? reinterpret_cast<LPCWSTR>(wideBlock.Data()) : MAKEINTRESOURCEW(wideVerb & 0xFFFF);
    const test::GuardedBlock block(&info, info.cbSize >= sizeof(info) ? sizeof(info) : sizeof(CMINVOKECOMMANDINFO));
    const bool accepted = AcceptsVerb(*reinterpret_cast<const CMINVOKECOMMANDINFO*>(block.Data()), kCaption, state);

    std::wstring converted(narrow.size(), L'\0');
    MultiByteToWideChar(CP_THREAD_ACP, 0, narrow.c_str(), -1, converted.data(), static_cast<int>(converted.size()));
    const bool named = info.cbSize == sizeof(info) ? wideVerb == kString && _wcsicmp(kCaption, wide.c_str()) == 0
                                                   : _wcsicmp(kCaption, converted.c_str()) == 0;
    const int offset = static_cast<int>(verb & 0xFFFF);
    Require(accepted == (verb == kString ? named : offset == 0 || offset == state),
            "an offset of 0 or the item's, or the caption in the verb the size names");
}

// Any type and bytes as "Path" or "MenuOption", in this prefix's registry.
void Registry(std::string_view input)
{
    const bool option = Take<BYTE>(input) & 1;
    const DWORD type = Take<DWORD>(input);
    auto& value = g_values[option];
    if (!value)
        value.emplace(HKEY_LOCAL_MACHINE, option ? kSenderProfileKey : kSenderAppPathsKey,
                      option ? kMenuOptionValue : kSenderPathValue, option ? KEY_WOW64_32KEY : 0);
    value->SetRaw(type, input.data(), static_cast<DWORD>(input.size()));
    if (option) {
        const bool dword = type == REG_DWORD && input.size() == sizeof(DWORD);
        const DWORD answer = ReadMenuOption();
        Require(answer == (dword ? Take<DWORD>(input) : 1u), "MenuOption is a four-byte REG_DWORD's value, else 1");
        return;
    }
    const std::wstring folder = GetSenderDirectory();
    // Only a plain string with one terminator, at its end, is sure to get its separator: a NUL
    // inside, an odd size or an expansion moves the place the separator goes.
    const std::wstring_view stored(reinterpret_cast<const wchar_t*>(input.data()), input.size() / sizeof(wchar_t));
    const bool plain = type == REG_SZ && input.size() % 2 == 0 && stored.find(L'\0') + 1 == stored.size();
    const bool absolute = folder.size() > 2 && (folder[1] == L':' || folder.rfind(L"\\\\", 0) == 0);
    Require(folder.size() <= MAX_PATH && (folder.empty() || (absolute && (!plain || folder.back() == L'\\'))),
            "the sender's folder is unknown, or absolute and ending in a backslash when stored plainly");
    IsSenderInstalled();
    ReadSenderLanguage();
    SenderPathForLaunch();
}

} // namespace

void Require(bool kept, const char* promise)
{
    if (!kept)
        Fail(promise);
}

} // namespace quillet::fuzz

int main()
{
    using namespace quillet::fuzz;
    SetUnhandledExceptionFilter(OnFault);
    _setmode(_fileno(stdin), _O_BINARY);
    void (*const targets[])(std::string_view) = {DropList, Verb, Registry, Parsers};
    unsigned char target = 0;
    DWORD length = 0;
    while (std::fread(&target, 1, 1, stdin) == 1 && std::fread(&length, sizeof(length), 1, stdin) == 1) {
        std::string input(length, '\0');
        if (std::fread(input.data(), 1, length, stdin) != length)
            break;
        if (target == 255) {
            std::printf("at %lu\n", g_index);
            std::fflush(stdout);
            continue;
        }
        try {
            targets[target % std::size(targets)](input);
        } catch (const std::exception& error) {
            Fail(error.what());
        }
        ++g_index;
    }
}
