// SPDX-License-Identifier: MIT
#include "knotwork/approx/AP_EVAL_CONTEXT.h"

#include <algorithm>
#include <cstdio>

#include "knotwork/approx/detail/SharedDoubles.h"

namespace {

constexpr double kGuard = 987.654;
constexpr std::size_t kMargin =
    8;  // behind the guard: a tiny net's normal ends up to 3 numbers late

double* makeWorkspace(int n, double guard)
{
    const auto size = static_cast<std::size_t>(n);
    double* workspace = knotwork::makeDoubles(size + 1 + kMargin);
    workspace[size] = guard;
    return workspace;
}

}  // namespace

AP_EVAL_CONTEXT::AP_EVAL_CONTEXT(int n)
    : size_(std::max(n, 0)), workspace_(makeWorkspace(size_, kGuard))
{
}

AP_EVAL_CONTEXT::AP_EVAL_CONTEXT(const AP_EVAL_CONTEXT& other)
    : size_(other.size_), workspace_(knotwork::shareDoubles(other.workspace_))
{
}

AP_EVAL_CONTEXT& AP_EVAL_CONTEXT::operator=(const AP_EVAL_CONTEXT& other)
{
    if (this == &other || workspace_ == other.workspace_) return *this;
    leave();
    size_ = other.size_;
    workspace_ = knotwork::shareDoubles(other.workspace_);
    return *this;
}

AP_EVAL_CONTEXT::~AP_EVAL_CONTEXT()
{
    leave();
}

void AP_EVAL_CONTEXT::leave()
{
    if (workspace_[size_] != kGuard) std::fputs("Workspace OVERFLOW!!!\n", stderr);
    knotwork::releaseDoubles(workspace_);
}

void AP_EVAL_CONTEXT::remake(int n)
{
    double* old = workspace_;
    workspace_ = makeWorkspace(n, old[size_]);
    size_ = n;
    knotwork::releaseDoubles(old);
}
