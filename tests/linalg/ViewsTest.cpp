// SPDX-License-Identifier: MIT
// Vectors and matrices that share, slice, stride, pick, grow and part, next to plain models: the
// runs that the fuzzer drives, on random bytes.
#include <cstdint>
#include <stdexcept>

#include "fuzz/MatrixRun.h"
#include "fuzz/VectorRun.h"
#include "knotwork/linalg/DoubleGenMatPick.h"
#include "knotwork/linalg/DoubleVecPick.h"
#include "knotwork/linalg/IntGenMatPick.h"
#include "knotwork/linalg/IntVecPick.h"
#include "knotwork/linalg/SCharVecPick.h"
#include "tests/support/Testing.h"

namespace {

using namespace knotwork_fuzz;
using namespace knotwork_test;

template <class Run>
class ViewsTest : public testing::Test {
  protected:
    ~ViewsTest() override { setLXErrHandler(before_); }

  private:
    LXErrHandler before_ = setLXErrHandler(throwUnlessWarning);
};
using Runs = testing::Types<VectorRun<DoubleVec>, VectorRun<IntVec>, VectorRun<SCharVec>,
                            MatrixRun<DoubleGenMat, DoubleVec>, MatrixRun<IntGenMat, IntVec>>;
TYPED_TEST_SUITE(ViewsTest, Runs);

/// 500 runs of about 100 steps each.
TYPED_TEST(ViewsTest, AgreeWithTheirModels)
{
    for (unsigned seed = 1; seed <= 500; ++seed) {
        Dice dice(seed);
        std::vector<std::uint8_t> input(800);
        for (std::uint8_t& byte : input) byte = static_cast<std::uint8_t>(dice.below(256));
        Bytes bytes(input.data(), input.size());
        TypeParam run;
        try {
            while (!bytes.done()) run.step(bytes);
        } catch (const std::logic_error& fault) {
            FAIL() << "does not hold: " << fault.what() << ", seed " << seed;
        }
    }
}

}  // namespace
