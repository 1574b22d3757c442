// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace knotfit {

/// Files that are written together or not at all: first beside their places, then, when every one
/// is complete, moved there. "-" is standard output; what is no regular file is written in place.
/// Files that the user may not write, and links that lead nowhere, are left as they are. A signal
/// that ends the process takes what waits with it.
class OutputFiles {
  public:
    explicit OutputFiles(std::vector<std::string> inputs) : inputs_(std::move(inputs)) {}
    /// Throws a Failure for a file that is an input or was added before.
    void add(const std::string& path, std::string content);
    bool takeStandardOutput() const;  ///< whether one of them is "-"
    void write() const;               ///< throws a Failure; nothing is left behind then

  private:
    struct File {
        std::string path;
        std::string content;
    };
    std::vector<std::string> inputs_;
    std::vector<File> files_;
};

}  // namespace knotfit
