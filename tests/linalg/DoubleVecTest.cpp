// SPDX-License-Identifier: MIT
#include "knotwork/linalg/DoubleVec.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

TEST(DoubleVecTest, CopiesShareAndAssignmentCopiesElements)
{
    DoubleVec a(3, 0.0);
    DoubleVec b(a);
    b(0) = 5.0;
    EXPECT_EQ(a(0), 5.0);
    b.deepenShallowCopy();
    b(0) = 7.0;
    EXPECT_EQ(a(0), 5.0);
}
