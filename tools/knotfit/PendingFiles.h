// SPDX-License-Identifier: MIT
#pragma once

#include <csignal>
#include <filesystem>

namespace knotfit {

/// Files that go when a signal ends the process (hang-up, interrupt, termination), unless they are
/// forgotten before. Signals that were ignored stay so.
class PendingFiles {
  public:
    /// Keeps those signals waiting while files are made and named here, or moved and forgotten.
    class Quiet {
      public:
        Quiet();
        ~Quiet();
        Quiet(const Quiet&) = delete;
        Quiet& operator=(const Quiet&) = delete;

      private:
        sigset_t before_;
    };

    static void add(const std::filesystem::path& path);
    static void forget(const std::filesystem::path& path);
};

}  // namespace knotfit
