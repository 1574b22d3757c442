// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>

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
        switch (bytes.below(12)) {
            case 0:
                become(a, fresh(m, n, x));
                break;
            case 1:
                become(a, b);
                break;
            case 2: {
                const unsigned code = codeRaisedBy([&] { a.real = b.real; });
                const bool fits = a.rows == b.rows && a.cols == b.cols;
                require(code == (fits ? 0u : 0x4004u), "another shape is an error");
                if (fits) a.model.write(b.model.values());
                break;
            }
            case 3:
                resize(a, m, n);
                break;
            case 4:
                a.real.deepenShallowCopy();
                a.model = Model<T>::of(a.model.values());
                break;
            case 5: {
                const unsigned code = codeRaisedBy([&] { a.real.bcset(m - 1, n - 1, x); });
                const bool holds = m > 0 && m <= a.rows && n > 0 && n <= a.cols;
                require(code == (holds ? 0u : 0x4005u), "an element outside is an error");
                if (holds) a.at(m - 1, n - 1) = x;
                break;
            }
            case 6:
                fillLine(
                    a, 0x4007, n < a.cols, [&] { return a.real.bccol(n); }, x,
                    [&](int, int j) { return j == n; });
                break;
            case 7:
                fillLine(
                    a, 0x4006, m < a.rows, [&] { return a.real.bcrow(m); }, x,
                    [&](int i, int) { return i == m; });
                break;
            case 8:
                fillLine(
                    a, 0x4008, n - m < a.cols && m - n < a.rows,
                    [&] { return a.real.bcdiagonal(n - m); }, x,
                    [&](int i, int j) { return j - i == n - m; });
                break;
            case 9:
                pick(bytes, a, b, x);
                break;
            case 10:
                become(a, transposed(b));
                break;
            default:
                multiply(a, b, any(bytes));
        }
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
        Slot grown = fresh(m, n, T{0});
        for (int j = 0; j < std::min(n, a.cols); ++j)
            for (int i = 0; i < std::min(m, a.rows); ++i) grown.at(i, j) = a.at(i, j);
        a.model = grown.model;
        a.rows = m;
        a.cols = n;
    }

    template <class Line, class Inside>
    static void fillLine(Slot& a, unsigned error, bool holds, Line line, T x, Inside inside)
    {
        const unsigned code = codeRaisedBy([&] {
            Vec view = line();
            view = x;
        });
        require(code == (holds ? 0u : error), "a line outside is an error");
        if (!holds) return;
        for (int j = 0; j < a.cols; ++j)
            for (int i = 0; i < a.rows; ++i)
                if (inside(i, j)) a.at(i, j) = x;
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
        Slot result = fresh(static_cast<int>(rows.length()), static_cast<int>(cols.length()), x);
        for (int j = 0; j < result.cols; ++j)
            for (int i = 0; i < result.rows; ++i) result.at(i, j) = b.at(rows(i), cols(j));
        choice = x;
        for (int j = 0; j < result.cols; ++j)
            for (int i = 0; i < result.rows; ++i) b.at(rows(i), cols(j)) = x;
        result.real.reference(gathered);
        become(a, result);
    }

    static Slot transposed(const Slot& b)
    {
        Slot result = fresh(b.cols, b.rows, T{0});
        for (int j = 0; j < b.cols; ++j)
            for (int i = 0; i < b.rows; ++i) result.at(j, i) = b.at(i, j);
        result.real.reference(transpose(b.real));
        return result;
    }

    static void multiply(Slot& target, const Slot& a, const Slot& b)
    {
        Mat real;
        const unsigned code = codeRaisedBy([&] { real.reference(product(a.real, b.real)); });
        require(code == (a.cols == b.rows ? 0u : 0x4016u), "shapes that do not fit are an error");
        if (code != 0) return;
        Slot result = fresh(a.rows, b.cols, T{0});
        for (int j = 0; j < b.cols; ++j)
            for (int i = 0; i < a.rows; ++i) {
                T total{0};
                for (int k = 0; k < a.cols; ++k) total = plus(total, times(a.at(i, k), b.at(k, j)));
                result.at(i, j) = total;
            }
        result.real.reference(real);
        become(target, result);
    }

    std::vector<Slot> slots_;
};

}  // namespace knotwork_fuzz
