// SPDX-License-Identifier: MIT
// Vectors and matrices that share, slice, stride, pick, grow and part, next to a plain model: each
// is a list of places in a standard vector. After every step all of them agree.
#include "fuzz/MatrixRun.h"
#include "fuzz/VectorRun.h"
#include "knotwork/linalg/DoubleGenMat.h"
#include "knotwork/linalg/DoubleGenMatPick.h"
#include "knotwork/linalg/DoubleVecPick.h"
#include "knotwork/linalg/IntGenMat.h"
#include "knotwork/linalg/IntGenMatPick.h"
#include "knotwork/linalg/IntVecPick.h"
#include "knotwork/linalg/SCharVec.h"
#include "knotwork/linalg/SCharVecPick.h"

using knotwork_fuzz::Bytes;
using knotwork_fuzz::MatrixRun;
using knotwork_fuzz::VectorRun;

namespace {

template <class Run>
void runAll(Bytes& bytes)
{
    Run run;
    while (!bytes.done()) run.step(bytes);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    Bytes bytes(data, size);
    void (*const runs[])(Bytes&) = {
        runAll<VectorRun<DoubleVec>>, runAll<VectorRun<IntVec>>, runAll<VectorRun<SCharVec>>,
        runAll<MatrixRun<DoubleGenMat, DoubleVec>>, runAll<MatrixRun<IntGenMat, IntVec>>};
    runs[bytes.below(5)](bytes);
    return 0;
}
