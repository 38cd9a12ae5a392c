// The one-pass reader against the real DragQueryFileW, on random lists of both widths.
#include <gtest/gtest.h>
#include <shlobj.h>

#include <cstddef>
#include <cstring>
#include <random>
#include <vector>

#include "common/drop_data_object.h"
#include "selection/drop_list_reader.h"

namespace quillet {
namespace {

constexpr UINT kCountQuery = 0xFFFFFFFF;
// The sizes the handler uses, and the edges of the copy rule.
constexpr UINT kSizes[] = {260, 1024, 1, 2, 7};
constexpr wchar_t kUntouched = L'\x2603';

// One answer: the result and the whole buffer, filled beforehand so that untouched slots show.
struct Answer {
    UINT result = 0;
    std::vector<wchar_t> buffer;
    bool operator==(const Answer&) const = default;
};

template <typename Query>
Answer Ask(Query&& query, UINT index, UINT size, bool withBuffer = true)
{
    Answer answer;
    answer.buffer.assign(size + 1, kUntouched);
    answer.result = query(index, withBuffer ? answer.buffer.data() : nullptr, size);
    return answer;
}

// Every question the handler could ask, and some it never does, answered both ways.
void ExpectSameAnswers(HGLOBAL real, DropListReader& reader, const std::string& what)
{
    auto dragQuery = [&](UINT index, wchar_t* buffer, UINT size) {
        return DragQueryFileW(static_cast<HDROP>(real), index, buffer, size);
    };
    auto readerQuery = [&](UINT index, wchar_t* buffer, UINT size) { return reader.QueryFile(index, buffer, size); };

    const UINT count = DragQueryFileW(static_cast<HDROP>(real), kCountQuery, nullptr, 0);
    ASSERT_EQ(reader.QueryFile(kCountQuery, nullptr, 0), count) << what;
    for (UINT index = 0; index < count + 2; ++index) {
        for (UINT size : kSizes)
            ASSERT_EQ(Ask(readerQuery, index, size), Ask(dragQuery, index, size))
                << what << ", index " << index << ", size " << size;
        ASSERT_EQ(Ask(readerQuery, index, 0), Ask(dragQuery, index, 0)) << what << ", index " << index;
        ASSERT_EQ(Ask(readerQuery, index, 260, false), Ask(dragQuery, index, 260, false))
            << what << ", index " << index << " without buffer";
    }
}

class RandomLists {
public:
    explicit RandomLists(unsigned seed) : m_random(seed) {}

    size_t Below(size_t limit) { return std::uniform_int_distribution<size_t>(0, limit - 1)(m_random); }

    // Mostly ordinary lengths, sometimes around the two buffer sizes.
    size_t NameLength()
    {
        switch (Below(8)) {
        case 0: return 255 + Below(10);
        case 1: return 1019 + Below(10);
        case 2: return 1500;
        default: return 1 + Below(80);
        }
    }

    std::wstring WideName()
    {
        std::wstring name(NameLength(), L'\0');
        for (auto& unit : name) {
            switch (Below(4)) {
            case 0: unit = static_cast<wchar_t>(1 + Below(0xFFFF)); break; // surrogates and all
            case 1: unit = static_cast<wchar_t>(0x4E00 + Below(0x500)); break;
            default: unit = static_cast<wchar_t>(L' ' + Below(95)); break;
            }
        }
        return name;
    }

    std::string AnsiName()
    {
        std::string name(NameLength(), '\0');
        for (auto& unit : name)
            unit = static_cast<char>(Below(2) ? 0x20 + Below(0x5F) : 1 + Below(255));
        return name;
    }

    std::vector<BYTE> WellFormed(bool wide)
    {
        const size_t names = Below(2) ? Below(4) : Below(40);
        if (wide) {
            std::vector<std::wstring> paths;
            for (size_t i = 0; i < names; ++i)
                paths.push_back(WideName());
            return test::WideDropFiles(paths);
        }
        std::vector<std::string> paths;
        for (size_t i = 0; i < names; ++i)
            paths.push_back(AnsiName());
        return test::AnsiDropFiles(paths);
    }

    // A well-formed list spoilt the ways a careless data object spoils it.
    std::vector<BYTE> Malformed(bool wide)
    {
        std::vector<BYTE> bytes = WellFormed(wide);
        const size_t unit = wide ? 2 : 1;
        const size_t listStart = sizeof(DROPFILES);
        if (Below(2) && bytes.size() > listStart + 2 * unit) // an empty name somewhere in the list
            std::memset(&bytes[listStart + Below((bytes.size() - listStart) / unit) * unit], 0, unit);
        if (Below(2)) // cut anywhere, header included: the last name or the list loses its end
            bytes.resize(Below(bytes.size() + 1));
        DWORD offset = sizeof(DROPFILES);
        switch (Below(4)) {
        case 0: offset = static_cast<DWORD>(Below(bytes.size() + 40)); break; // inside, odd, or past the end
        case 1: offset = sizeof(DROPFILES) + 1; break;
        default: break;
        }
        if (bytes.size() >= sizeof(DWORD))
            std::memcpy(bytes.data(), &offset, sizeof(offset));
        if (bytes.size() >= offsetof(DROPFILES, fWide) + sizeof(BOOL) && wide && Below(3) == 0) {
            const BOOL oddWide = Below(2) ? 2 : -1; // any non-zero value means wide
            std::memcpy(bytes.data() + offsetof(DROPFILES, fWide), &oddWide, sizeof(oddWide));
        }
        return bytes;
    }

private:
    std::mt19937 m_random;
};

// The block placed so that its last byte is the last readable one: one byte further faults.
class GuardedBlock {
public:
    explicit GuardedBlock(const std::vector<BYTE>& bytes)
    {
        const size_t page = 4096;
        const size_t pages = (bytes.size() + page - 1) / page + 1;
        m_base = static_cast<BYTE*>(VirtualAlloc(nullptr, pages * page, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE));
        DWORD old = 0;
        VirtualProtect(m_base + (pages - 1) * page, page, PAGE_NOACCESS, &old);
        m_data = m_base + (pages - 1) * page - bytes.size();
        if (!bytes.empty())
            std::memcpy(m_data, bytes.data(), bytes.size());
    }
    ~GuardedBlock() { VirtualFree(m_base, 0, MEM_RELEASE); }
    GuardedBlock(const GuardedBlock&) = delete;
    GuardedBlock& operator=(const GuardedBlock&) = delete;
    const BYTE* Data() const { return m_data; }

private:
    BYTE* m_base = nullptr;
    BYTE* m_data = nullptr;
};

TEST(DropListReader, AnswersAsDragQueryFileForWellFormedLists)
{
    RandomLists lists(20240611);
    for (int round = 0; round < 300; ++round) {
        const bool wide = round % 2 == 0;
        const std::vector<BYTE> bytes = lists.WellFormed(wide);
        const UniqueGlobal real = test::MakeGlobal(bytes);
        GlobalLockScope<BYTE> lock(real.get());
        DropListReader reader(lock.get(), GlobalSize(real.get()));
        EXPECT_TRUE(reader.EndsInsideBlock()) << "list " << round;
        ExpectSameAnswers(real.get(), reader, (wide ? "wide list " : "ANSI list ") + std::to_string(round));
        if (HasFatalFailure())
            return;
    }
}

// DragQueryFileW would read on past the end of a malformed block; the reader stops there and
// answers as DragQueryFileW does when zeros follow the block. The reader reads the block at the
// end of accessible memory (one byte more would fault); the real call reads a zero-padded copy.
TEST(DropListReader, StaysInsideMalformedBlocksAnsweringAsIfZerosFollowed)
{
    RandomLists lists(7);
    int unsafe = 0;
    for (int round = 0; round < 400; ++round) {
        const bool wide = round % 2 == 0;
        const std::vector<BYTE> bytes = lists.Malformed(wide);
        std::vector<BYTE> padded = bytes;
        padded.resize(bytes.size() + 64, 0);
        const UniqueGlobal real = test::MakeGlobal(padded);
        const GuardedBlock guarded(bytes);
        DropListReader reader(guarded.Data(), bytes.size());
        const std::string what = (wide ? "wide block " : "ANSI block ") + std::to_string(round);
        ExpectSameAnswers(real.get(), reader, what);
        if (HasFatalFailure())
            return;
        // Where the reader finds the list closed inside, DragQueryFileW can count it in place:
        // a wrong claim would make it read into the inaccessible page.
        const auto drop = reinterpret_cast<HDROP>(const_cast<BYTE*>(guarded.Data()));
        if (reader.EndsInsideBlock())
            ASSERT_EQ(CountDropList(drop, reader), DragQueryFileW(drop, kCountQuery, nullptr, 0)) << what;
        else
            ASSERT_EQ(CountDropList(drop, reader), reader.Count()) << what;
        unsafe += reader.EndsInsideBlock() ? 0 : 1;
    }
    EXPECT_GT(unsafe, 100) << "too few blocks that DragQueryFileW could not walk";
}

TEST(DropListReader, ListOffsetFarOutsideTheBlockReadsAsOneEmptyName)
{
    std::vector<BYTE> bytes = test::WideDropFiles({L"C:\\a", L"C:\\b"});
    const DWORD offset = 0xFFFFFFF0;
    std::memcpy(bytes.data(), &offset, sizeof(offset));
    const GuardedBlock guarded(bytes);
    DropListReader reader(guarded.Data(), bytes.size());

    wchar_t buffer[4] = {L'x', L'x', L'x', L'x'};
    EXPECT_EQ(reader.QueryFile(kCountQuery, nullptr, 0), 1u);
    EXPECT_EQ(reader.QueryFile(0, buffer, 4), 0u);
    EXPECT_EQ(buffer[0], L'\0');
    EXPECT_EQ(reader.QueryFile(1, buffer, 4), 0u);
}

TEST(DropListReader, NoBlockAnswersNothing)
{
    DropListReader reader(nullptr, 0);
    wchar_t buffer[4] = {L'x', L'x', L'x', L'x'};
    EXPECT_EQ(reader.QueryFile(kCountQuery, nullptr, 0), DragQueryFileW(nullptr, kCountQuery, nullptr, 0));
    EXPECT_EQ(reader.QueryFile(0, buffer, 4), 0u);
    EXPECT_EQ(buffer[0], L'x');
}

} // namespace
} // namespace quillet
