// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <cstddef>
#include <functional>
#include <memory>
#include <new>
#include <vector>

namespace knotwork {

/// The one block in which a record lies with everything built along with it. The record comes
/// first, behind a header with the block's end, so that a release can tell its own cells from
/// foreign ones whatever a host did to the record.
class Block {
  public:
    /// Room for a record and the given numbers of nodes and doubles. Pieces are taken in order.
    template <class Record, class Node>
    static Block make(std::size_t nodes, std::size_t doubles)
    {
        const std::size_t bytes =
            sizeof(Header) + sizeof(Record) + nodes * sizeof(Node) + doubles * sizeof(double);
        char* start = static_cast<char*>(::operator new(bytes));
        new (start) Header{start + bytes};
        return Block(start + sizeof(Header));
    }

    template <class T>
    T* take(std::size_t count)
    {
        T* piece = reinterpret_cast<T*>(at_);
        std::uninitialized_value_construct_n(piece, count);
        at_ += count * sizeof(T);
        return piece;
    }

    static bool holds(const void* record, const double* cell)
    {
        const std::less<const void*> before;
        return !before(cell, record) && before(cell, header(record)->end);
    }

    static void release(void* record)
    {
        if (record != nullptr) ::operator delete(static_cast<char*>(record) - sizeof(Header));
    }

  private:
    struct alignas(std::max_align_t) Header {
        const void* end;
    };

    explicit Block(char* at) : at_(at) {}

    static const Header* header(const void* record)
    {
        return reinterpret_cast<const Header*>(static_cast<const char*>(record) - sizeof(Header));
    }

    char* at_;
};

/// Releases cells from nk_al_dbl, each once however often it is named.
inline void releaseDistinct(std::vector<double*>& cells)
{
    std::sort(cells.begin(), cells.end(), std::less<>());
    cells.erase(std::unique(cells.begin(), cells.end()), cells.end());
    for (double* cell : cells) delete[] cell;
}

}  // namespace knotwork
