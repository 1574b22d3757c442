// SPDX-License-Identifier: MIT
#pragma once

namespace knotfit {

/// A bar on standard error that grows with the share of the work that is done. Draws nothing where
/// standard error is no terminal.
class ProgressBar {
  public:
    ProgressBar();
    bool visible() const { return terminal_; }
    void show(double share);  ///< 0 to 1, which ends the line

  private:
    bool terminal_;
};

}  // namespace knotfit
