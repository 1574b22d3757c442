// SPDX-License-Identifier: MIT
#include "fuzz/Fuzz.h"

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    setLXErrHandler(knotwork_fuzz::throwUnlessWarning);
    return 0;
}
