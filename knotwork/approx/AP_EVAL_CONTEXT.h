// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>

#include "knotwork/export.h"

/// The workspace of an evaluator, with a guard number right behind it.
/// Storage   copies and assignments share the workspace; the last holder releases it.
/// Errors    an object that leaves a workspace whose guard is gone says so in one line on standard
///           error, "Workspace OVERFLOW!!!", and goes on.
class KNOTWORK_EXPORT AP_EVAL_CONTEXT {
  public:
    explicit AP_EVAL_CONTEXT(int n);  ///< n numbers, all 0, and the guard
    AP_EVAL_CONTEXT(const AP_EVAL_CONTEXT& other);
    AP_EVAL_CONTEXT& operator=(const AP_EVAL_CONTEXT& other);
    virtual ~AP_EVAL_CONTEXT();

  protected:
    int size() const { return size_; }
    double* workspace() { return workspace_; }

    /// A larger workspace of its own. A guard that is gone stays gone, to be told at the end.
    void remake(int n);

  private:
    void leave();

    int size_;
    double* workspace_;
};
