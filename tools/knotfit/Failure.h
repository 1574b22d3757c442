// SPDX-License-Identifier: MIT
#pragma once

#include <stdexcept>
#include <string>

namespace knotfit {

/// The process's exit status.
enum Status {
    kDone = 0,
    kRefused = 1,   ///< the input is fine, but there is no fit that stands
    kBadUsage = 2,  ///< wrong options, or input or output that cannot be read or written
};

/// Ends a command with a sentence for the user.
class Failure : public std::runtime_error {
  public:
    Failure(Status status, const std::string& sentence)
        : std::runtime_error(sentence), status_(status)
    {
    }
    Status status() const { return status_; }

  private:
    Status status_;
};

[[noreturn]] inline void refuse(const std::string& sentence)
{
    throw Failure(kBadUsage, sentence);
}

}  // namespace knotfit
