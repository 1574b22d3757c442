// SPDX-License-Identifier: MIT
#pragma once

#include <functional>

#include "fuzz/ViewModel.h"
#include "knotwork/linalg/IntVec.h"

namespace knotwork_fuzz {

/// As VectorRun, for matrices: a model is the elements column by column.
template <class Mat, class Vec>
class MatrixRun {
  public:
    using T = typename Mat::Element;

    MatrixRun()
    {
        for (int i = 0; i < kSlots; ++i) slots_.push_back(fresh(2, 3, T{1}));
    }

    void step(Bytes& bytes)
    {
        Slot& a = any(bytes);
        Slot& b = any(bytes);
        const int m = bytes.below(kMostRows);
        const int n = bytes.below(kMostRows);
        const T x = static_cast<T>(bytes.between(-50, 50));
        const auto fill = [&](unsigned error, bool holds, auto line, auto inside) {
            const auto set = [&] {
                Vec view = line();
                view = x;
            };
            if (!raisesUnless(holds, error, set)) return;
            for (int j = 0; j < a.cols; ++j)
                for (int i = 0; i < a.rows; ++i)
                    if (inside(i, j)) a.at(i, j) = x;
        };
        const std::function<void()> steps[] = {
            [&] { become(a, fresh(m, n, x)); },
            [&] { become(a, b); },
            [&] {
                if (raisesUnless(a.rows == b.rows && a.cols == b.cols, 0x4004,
                                 [&] { a.real = b.real; }))
                    a.model.write(b.model.values());
            },
            [&] { resize(a, m, n); },
            [&] {
                a.real.deepenShallowCopy();
                a.model = Model<T>::of(a.model.values());
            },
            [&] {
                if (raisesUnless(m > 0 && m <= a.rows && n > 0 && n <= a.cols, 0x4005,
                                 [&] { a.real.bcset(m - 1, n - 1, x); }))
                    a.at(m - 1, n - 1) = x;
            },
            [&] {
                fill(
                    0x4007, n < a.cols, [&] { return a.real.bccol(n); },
                    [&](int, int j) { return j == n; });
            },
            [&] {
                fill(
                    0x4006, m < a.rows, [&] { return a.real.bcrow(m); },
                    [&](int i, int) { return i == m; });
            },
            [&] {
                fill(
                    0x4008, n - m < a.cols && m - n < a.rows,
                    [&] { return a.real.bcdiagonal(n - m); },
                    [&](int i, int j) { return j - i == n - m; });
            },
            [&] { pick(bytes, a, b, x); },
            [&] {
                become(a, made(b.cols, b.rows, transpose(b.real),
                               [&](int i, int j) { return b.at(j, i); }));
            },
            [&] { multiply(a, b, any(bytes)); },
        };
        steps[bytes.below(12)]();
        for (const Slot& slot : slots_) compare(slot);
    }

  private:
    static constexpr int kSlots = 5;
    static constexpr int kMostRows = 6;
    struct Slot {
        Mat real;
        Model<T> model;
        int rows;
        int cols;
        T& at(int i, int j) { return model.at(j * rows + i); }
        T at(int i, int j) const { return model.at(j * rows + i); }
    };

    static Slot fresh(int m, int n, T x)
    {
        const std::vector<T> values(static_cast<std::size_t>(m * n), x);
        return {Mat(static_cast<unsigned>(m), static_cast<unsigned>(n), x), Model<T>::of(values), m,
                n};
    }

    /// A matrix that holds what a function says.
    template <class At>
    static Slot made(int m, int n, const Mat& real, At at)
    {
        Slot result = fresh(m, n, T{0});
        for (int j = 0; j < n; ++j)
            for (int i = 0; i < m; ++i) result.at(i, j) = at(i, j);
        result.real.reference(real);
        return result;
    }

    Slot& any(Bytes& bytes) { return slots_[static_cast<std::size_t>(bytes.below(kSlots))]; }

    /// Shares; `=` of a matrix would copy elements.
    static void become(Slot& a, const Slot& b)
    {
        a.real.reference(b.real);
        a.model = b.model;
        a.rows = b.rows;
        a.cols = b.cols;
    }

    static void compare(const Slot& slot)
    {
        require(slot.rows == static_cast<int>(slot.real.rows()) &&
                    slot.cols == static_cast<int>(slot.real.cols()),
                "shapes agree");
        for (int j = 0; j < slot.cols; ++j)
            for (int i = 0; i < slot.rows; ++i)
                require(agree(slot.real(i, j), slot.at(i, j)), "elements agree");
    }

    static void resize(Slot& a, int m, int n)
    {
        a.real.resize(static_cast<unsigned>(m), static_cast<unsigned>(n));
        if (m == a.rows && n == a.cols) return;
        become(a, made(m, n, a.real, [old = a](int i, int j) {
                   return i < old.rows && j < old.cols ? old.at(i, j) : T{0};
               }));
    }

    static IntVec indices(Bytes& bytes, int below)
    {
        IntVec index(static_cast<unsigned>(below == 0 ? 0 : bytes.below(4)));
        for (int k = 0; k < static_cast<int>(index.length()); ++k) index(k) = bytes.below(below);
        return index;
    }

    /// Gathers from b, then fills the same choice in it.
    static void pick(Bytes& bytes, Slot& a, Slot& b, T x)
    {
        const IntVec rows = indices(bytes, b.rows);
        const IntVec cols = indices(bytes, b.cols);
        auto choice = b.real(rows, cols);
        const Mat gathered(choice);
        const int m = static_cast<int>(rows.length());
        const int n = static_cast<int>(cols.length());
        const Slot result =
            made(m, n, gathered, [&](int i, int j) { return b.at(rows(i), cols(j)); });
        choice = x;
        for (int j = 0; j < n; ++j)
            for (int i = 0; i < m; ++i) b.at(rows(i), cols(j)) = x;
        become(a, result);
    }

    static void multiply(Slot& target, const Slot& a, const Slot& b)
    {
        Mat real;
        if (!raisesUnless(a.cols == b.rows, 0x4016,
                          [&] { real.reference(product(a.real, b.real)); }))
            return;
        become(target, made(a.rows, b.cols, real, [&](int i, int j) {
                   T total{0};
                   for (int k = 0; k < a.cols; ++k)
                       total = plus(total, times(a.at(i, k), b.at(k, j)));
                   return total;
               }));
    }

    std::vector<Slot> slots_;
};

}  // namespace knotwork_fuzz
