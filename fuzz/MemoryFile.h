// SPDX-License-Identifier: MIT
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <string>

#include "fuzz/Fuzz.h"

namespace knotwork_fuzz {

/// A file that only memory holds, for readers that take a path.
class MemoryFile {
  public:
    MemoryFile()
        : descriptor_(memfd_create("input", 0)),
          path_("/proc/self/fd/" + std::to_string(descriptor_))
    {
        require(descriptor_ >= 0, "the system has a file in memory");
    }
    ~MemoryFile() { close(descriptor_); }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    const std::string& path() const { return path_; }
    void hold(const void* data, std::size_t size)
    {
        const bool held = ftruncate(descriptor_, 0) == 0 &&
                          pwrite(descriptor_, data, size, 0) == static_cast<ssize_t>(size);
        require(held, "the file takes what it is given");
    }

  private:
    int descriptor_;
    std::string path_;
};

}  // namespace knotwork_fuzz
