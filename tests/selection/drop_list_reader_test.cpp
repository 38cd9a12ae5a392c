// The one-pass reader against the real DragQueryFileW, on random lists of both widths.
#include <gtest/gtest.h>
#include <shlobj.h>

#include <cstddef>
#include <cstring>
#include <random>
#include <utility>
#include <vector>

#include "common/drop_data_object.h"
#include "support/guarded_block.h"
#include "selection/drop_list_reader.h"

namespace quillet {
namespace {

constexpr UINT kCountQuery = 0xFFFFFFFF;

// Every question the handler could ask, and some it never does, answered both ways: the result
// and the whole buffer, filled beforehand so that untouched slots show.
void ExpectSameAnswers(HDROP real, DropListReader& reader, const std::string& what)
{
    const UINT count = DragQueryFileW(real, kCountQuery, nullptr, 0);
    ASSERT_EQ(reader.QueryFile(kCountQuery, nullptr, 0), count) << what;
    for (UINT index = 0; index < count + 2; ++index)
        for (const UINT size : {260u, 1024u, 0u, 1u, 2u, 7u})
            for (const bool buffered : {true, false}) {
                std::vector<wchar_t> mine(size + 1, L'\x2603');
                std::vector<wchar_t> theirs = mine;
                const UINT answer = reader.QueryFile(index, buffered ? mine.data() : nullptr, size);
                const UINT expected = DragQueryFileW(real, index, buffered ? theirs.data() : nullptr, size);
                ASSERT_EQ(std::make_pair(answer, mine), std::make_pair(expected, theirs))
                    << what << ", index " << index << ", size " << size << (buffered ? "" : " without buffer");
            }
}

class RandomLists {
public:
    explicit RandomLists(unsigned seed) : m_random(seed) {}

    size_t Below(size_t limit) { return std::uniform_int_distribution<size_t>(0, limit - 1)(m_random); }

    std::vector<BYTE> WellFormed(bool wide)
    {
        return wide ? test::WideDropFiles(Names<wchar_t>()) : test::AnsiDropFiles(Names<char>());
    }

    // A well-formed list spoilt the ways a careless data object spoils it.
    std::vector<BYTE> Malformed(bool wide)
    {
        std::vector<BYTE> bytes = WellFormed(wide);
        const size_t unit = wide ? 2 : 1;
        const size_t start = sizeof(DROPFILES);
        if (Below(2) && bytes.size() > start + 2 * unit) // an empty name somewhere in the list
            std::memset(&bytes[start + Below((bytes.size() - start) / unit) * unit], 0, unit);
        if (Below(2)) // cut anywhere, header included: the last name or the list loses its end
            bytes.resize(Below(bytes.size() + 1));
        const size_t choice = Below(4);
        // The list inside, at an odd place, or past the end.
        const DWORD offset = static_cast<DWORD>(choice == 0 ? Below(bytes.size() + 40) : start + (choice == 1));
        if (bytes.size() >= sizeof(DWORD))
            std::memcpy(bytes.data(), &offset, sizeof(offset));
        const BOOL oddWide = Below(2) ? 2 : -1; // any value but 0 means wide
        if (bytes.size() >= offsetof(DROPFILES, fWide) + sizeof(BOOL) && wide && Below(3) == 0)
            std::memcpy(bytes.data() + offsetof(DROPFILES, fWide), &oddWide, sizeof(oddWide));
        return bytes;
    }

private:
    // Mostly short names, sometimes around the two buffer sizes or longer; of printable, CJK
    // (wide only) or any code units but zero, surrogates included.
    template <typename Char>
    std::vector<std::basic_string<Char>> Names()
    {
        std::vector<std::basic_string<Char>> names(Below(2) ? Below(4) : Below(40));
        for (auto& name : names) {
            const size_t kind = Below(8);
            name.resize(kind == 0 ? 255 + Below(10) : kind == 1 ? 1019 + Below(10) : kind == 2 ? 1500 : 1 + Below(80));
            for (auto& unit : name) {
                const size_t choice = Below(4);
                size_t value = 0x20 + Below(0x5F);
                if (choice == 0)
                    value = 1 + Below(sizeof(Char) == 1 ? 0xFF : 0xFFFF);
                else if (choice == 1 && sizeof(Char) == 2)
                    value = 0x4E00 + Below(0x500);
                unit = static_cast<Char>(value);
            }
        }
        return names;
    }

    std::mt19937 m_random;
};

// The reader reads each block where one byte past its end faults. DragQueryFileW reads a copy
// followed by zeros: on a malformed block it would read on past the end, and the reader answers
// as if zeros followed. Where the reader finds the list closed inside, the count is left to
// DragQueryFileW on the block itself, which a wrong claim would make fault.
TEST(DropListReader, AnswersAsDragQueryFileWithoutReadingPastTheBlock)
{
    DropListReader none(nullptr, 0);
    ExpectSameAnswers(nullptr, none, "no block");
    RandomLists lists(20240611);
    int unsafe = 0;
    for (int round = 0; round < 700; ++round) {
        const bool wide = round % 2 == 0;
        const bool malformed = round % 7 >= 3;
        const std::vector<BYTE> bytes = malformed ? lists.Malformed(wide) : lists.WellFormed(wide);
        std::vector<BYTE> padded = bytes;
        padded.resize(bytes.size() + 64, 0);
        const UniqueGlobal real = test::MakeGlobal(padded);
        const test::GuardedBlock guarded(bytes.data(), bytes.size());
        DropListReader reader(guarded.Drop(), bytes.size());
        const std::string what = (wide ? "wide" : "ANSI") + std::string(malformed ? " malformed" : "") + " list " +
                                 std::to_string(round);
        EXPECT_TRUE(malformed || reader.EndsInsideBlock()) << what;
        ExpectSameAnswers(static_cast<HDROP>(real.get()), reader, what);
        if (HasFatalFailure())
            return;
        ASSERT_EQ(CountDropList(guarded.Drop(), reader),
                  reader.EndsInsideBlock() ? DragQueryFileW(guarded.Drop(), kCountQuery, nullptr, 0) : reader.Count())
            << what;
        unsafe += reader.EndsInsideBlock() ? 0 : 1;
    }
    EXPECT_GT(unsafe, 100) << "too few blocks that DragQueryFileW could not walk";
}

} // namespace
} // namespace quillet
