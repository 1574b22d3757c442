// SPDX-License-Identifier: MIT
#include <cstdlib>
#include <new>

#include "knotwork/solvers/Thouseholder.h"
#include "tests/support/Arrays.h"
#include "tests/support/Testing.h"

// Every allocation of this program is counted: a header in front of each block keeps its size.
namespace {

constexpr std::size_t kHeader = 32;
std::size_t liveBytes = 0;
std::size_t peakBytes = 0;

void* counted(std::size_t size) noexcept
{
    auto* block = static_cast<char*>(std::malloc(size + kHeader));
    if (block == nullptr) return nullptr;
    *reinterpret_cast<std::size_t*>(block) = size;
    liveBytes += size;
    peakBytes = std::max(peakBytes, liveBytes);
    return block + kHeader;
}

void released(void* p) noexcept
{
    if (p == nullptr) return;
    char* block = static_cast<char*>(p) - kHeader;
    liveBytes -= *reinterpret_cast<std::size_t*>(block);
    std::free(block);
}

}  // namespace

void* operator new(std::size_t size)
{
    void* p = counted(size);
    if (p == nullptr) throw std::bad_alloc();
    return p;
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept
{
    return counted(size);
}
void operator delete(void* p) noexcept
{
    released(p);
}
void operator delete(void* p, std::size_t) noexcept
{
    released(p);
}
void operator delete(void* p, const std::nothrow_t&) noexcept
{
    released(p);
}

TEST(MemoryTest, ASetUpHoldsItsCopiesOfTheMatrixAndLittleElse)
{
    DoubleGenMat a = knotwork_test::randomMatrix(4000, 100, 1);
    a.col(7) = 0.0;  // so that cleaning cuts the matrix
    const double matrixBytes = 4000.0 * 100.0 * sizeof(double);
    struct Case {
        const char* name;
        bool keepsCopy, clean, cutoff;
        double copies;
    };
    const Case cases[] = {{"plain", false, false, false, 2.0},
                          {"with the untouched copy", true, false, false, 3.0},
                          {"cleaned", false, true, false, 2.0},
                          {"cleaned, with the untouched copy", true, true, false, 3.0},
                          {"with an estimated cut-off", false, true, true, 2.0}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const std::size_t before = liveBytes;
        Thouseholder solver(1e-12, 0, c.keepsCopy);
        for (int round = 0; round < 2; ++round) {  // the second set-up lets the first one go
            peakBytes = liveBytes;
            solver.setMatrix(a, 5, false, c.clean, c.cutoff);
            const double copies = static_cast<double>(peakBytes - before) / matrixBytes;
            EXPECT_LE(copies, c.copies + 0.1);
            EXPECT_GE(copies, c.copies - 0.1) << "or the count has stopped counting";
            RecordProperty(
                "peak_copies_" + std::to_string(&c - cases) + "_" + std::to_string(round),
                std::to_string(copies));
        }
    }
}
