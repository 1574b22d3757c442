// SPDX-License-Identifier: MIT
#include <cstdlib>
#include <new>

#include "knotwork/approx/AP_EVAL_CONST_PARM.h"
#include "knotwork/approx/AP_EVAL_NORM_CONST_PARM.h"
#include "tests/approx/Oracle.h"
#include "tests/support/Testing.h"

// The address sanitizer keeps its own operators, which see more.
#ifndef __SANITIZE_ADDRESS__

namespace {

using namespace knotwork_test;

int allocations = 0;

}  // namespace

// The forms for arrays and with sizes end here, as the standard has it.
void* operator new(std::size_t size)
{
    ++allocations;
    void* block = std::malloc(size > 0 ? size : 1);
    if (block == nullptr) throw std::bad_alloc();
    return block;
}
void operator delete(void* block) noexcept
{
    std::free(block);
}
void operator delete(void* block, std::size_t) noexcept
{
    std::free(block);
}

namespace {

TEST(AllocationTest, EvaluationUsesNoHeap)
{
    Generator random(15);
    for (int p = 1; p <= 9; ++p) {
        const Direction u = random.direction(p);
        const Direction v = random.direction(10 - p);
        const AP_SPLINE curve = makeCurve(3, u, random.points(u.count(), 3, true), true);
        AP_SURFACE surface =
            makeSurface(3, u, v, random.points(u.count() * v.count(), 3, false), false);
        AP_EVAL_CONST_PARM points(surface);
        AP_EVAL_NORM_CONST_PARM normals(surface);
        double out[1000];
        const double t = u.knot(0);
        const double s = v.knot(0);
        const int before = allocations;
        curve.eval(out, t, p + 1);
        curve.eval(t, 1, &out[0], &out[3]);
        surface.eval(out, t, s, 4);
        surface.normal(t, s, &out[0], &out[3]);
        points.setv(s);
        points.eval(t);
        normals.setv(s, 1);
        normals.eval(t, 2);
        EXPECT_EQ(allocations, before) << "degree " << p;
    }
}

}  // namespace

#endif
