// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <memory>
#include <vector>

namespace knotwork {

/// The node handles of a curve or surface, made on first use. Handles stay valid as long as their
/// owner: when its knots outgrow a table, a larger one is handed out and the older ones are kept.
template <class Node>
class NodeTable {
  public:
    /// A table of rows of `width` entries that holds at least `needed` of them; a new one is made
    /// with `size` entries when the last one is too small or has rows of another width.
    template <class Owner>
    Node* entries(Owner* owner, std::size_t width, std::size_t needed, std::size_t size)
    {
        if (tables_.empty() || needed > size_ || width != width_) {
            tables_.push_back(std::make_unique<Node[]>(size));
            for (std::size_t a = 0; a < size; ++a) tables_.back()[a].owner = owner;
            size_ = size;
            width_ = width;
        }
        return tables_.back().get();
    }

  private:
    std::vector<std::unique_ptr<Node[]>> tables_;
    std::size_t size_ = 0;
    std::size_t width_ = 0;
};

}  // namespace knotwork
