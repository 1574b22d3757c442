// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <cstddef>
#include <functional>
#include <memory>
#include <new>

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
        const std::size_t beforeDoubles = sizeof(Header) + sizeof(Record) + nodes * sizeof(Node);
        const std::size_t bytes = beforeDoubles + doubles * sizeof(double);
        char* start = static_cast<char*>(::operator new(bytes));
        new (start) Header{start + bytes, start + beforeDoubles};
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

    /// Before a release: cells from nk_al_dbl outside of the block, to be freed each once however
    /// often it is named. A release must not need memory, so they are noted where the block's own
    /// doubles were: those are not read any more, and there is one for each knot of a node. Nodes
    /// that a host put in besides may find no place left; their cells stay.
    class ForeignCells {
      public:
        explicit ForeignCells(void* record)
            : record_(record),
              end_(header(record)->end),
              first_(header(record)->doubles),
              at_(first_)
        {
        }
        ~ForeignCells()
        {
            auto** first = reinterpret_cast<double**>(first_);
            auto** last = reinterpret_cast<double**>(at_);
            std::sort(first, last, std::less<>());
            last = std::unique(first, last);
            for (; first != last; ++first) delete[] * first;
        }
        ForeignCells(const ForeignCells&) = delete;
        ForeignCells& operator=(const ForeignCells&) = delete;

        void note(double* cell)
        {
            if (holds(record_, cell) || end_ - at_ < static_cast<std::ptrdiff_t>(sizeof(double*)))
                return;
            new (at_) double*(cell);
            at_ += sizeof(double*);
        }

      private:
        void* record_;
        const char* end_;
        char* first_;
        char* at_;
    };

    static void release(void* record)
    {
        if (record != nullptr) ::operator delete(static_cast<char*>(record) - sizeof(Header));
    }

  private:
    struct alignas(std::max_align_t) Header {
        const char* end;
        char* doubles;
    };

    explicit Block(char* at) : at_(at) {}

    static const Header* header(const void* record)
    {
        return reinterpret_cast<const Header*>(static_cast<const char*>(record) - sizeof(Header));
    }

    char* at_;
};

}  // namespace knotwork
