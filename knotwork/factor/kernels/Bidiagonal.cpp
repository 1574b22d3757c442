// SPDX-License-Identifier: MIT
#include "knotwork/factor/kernels/Bidiagonal.h"

#include <algorithm>
#include <cmath>

#include "knotwork/factor/kernels/PanelKernels.h"
#include "knotwork/factor/kernels/Reflection.h"
#include "knotwork/factor/kernels/ReflectionBlock.h"
#include "knotwork/linalg/detail/MatrixProduct.h"
#include "knotwork/platform/blas.h"

namespace knotwork {

namespace {

constexpr int kMostTogether = 16;  // steps that the rest of the matrix takes in one product
constexpr int kFirstSteps = 8;     // one by one; what they leave unused is room for the others
constexpr int kFewLeft = 32;       // rows or columns that are better reduced one by one

/// Numbers whose products stay in the range of doubles, and of which none that counts vanishes.
bool isModerate(const Panel& x)
{
    constexpr int kStep = 1;
    double largest = 0.0;
    for (int j = 0; j < x.cols; ++j)
        largest =
            std::max(largest, std::fabs(x.at(0, j)[idamax_(&x.rows, x.at(0, j), &kStep) - 1]));
    return largest > 1e-100 && largest < 1e100;
}

class Reduction {
  public:
    Reduction(const Panel& x, const BidiagonalForm& form, bool moderate)
        : x_(x),
          f_(form),
          lefts_(std::min(x.rows - 1, x.cols)),
          rights_(std::max(0, std::min(x.cols - 2, x.rows))),
          moderate_(moderate)
    {
    }

    void run()
    {
        for (int l = 0; l < std::max(lefts_, rights_);) {
            const int together = stepsTogether(l);
            if (together > 0) {
                reduceTogether(l, together);
                l += together;
            } else {
                if (l < lefts_) reflectFromLeft(l);
                if (l < rights_) reflectFromRight(l);
                ++l;
            }
        }
        const int last = std::min(x_.rows + 1, x_.cols) - 1;
        if (lefts_ < x_.cols) f_.s[lefts_] = *x_.at(lefts_, lefts_);
        if (x_.rows <= last) f_.s[last] = 0.0;
        if (rights_ < last) f_.e[rights_] = *x_.at(rights_, last);
        f_.e[last] = 0.0;
    }

    int lefts() const { return lefts_; }    ///< each clears a column below the diagonal
    int rights() const { return rights_; }  ///< each clears a row beyond the superdiagonal

  private:
    int stepsTogether(int l) const
    {
        const bool worthwhile =
            moderate_ && l >= kFirstSteps && std::min(x_.rows, x_.cols) - l > kFewLeft;
        return worthwhile ? std::min(kMostTogether, l / 2) : 0;
    }

    Panel from(int row, int col) const
    {
        const bool empty = row >= x_.rows || col >= x_.cols;
        return empty ? x_.part(0, 0, 0, 0) : x_.part(row, col, x_.rows - row, x_.cols - col);
    }

    // Reflections that are to be multiplied out lie below the diagonal, tau on it.
    void keepLeft(int l, const double* w, double tau) const
    {
        if (l >= f_.left.cols) return;
        std::copy(w, w + (x_.rows - l), f_.left.at(l, l));
        *f_.left.at(l, l) = tau;
    }
    void keepRight(int l, const double* w, double tau) const
    {
        if (f_.right.cols == 0) return;
        std::copy(w, w + (x_.cols - l - 1), f_.right.at(l + 1, l + 1));
        *f_.right.at(l + 1, l + 1) = tau;
    }

    // --- one step after the other ---

    void reflectFromLeft(int l) const
    {
        double* w = x_.at(l, l);
        const Reflection reflection = makeReflection(x_.rows - l, w);
        f_.s[l] = reflection.sigma;
        if (reflection.tau != 0.0) reflectColumns(w, reflection.tau, from(l, l + 1));
        keepLeft(l, w, reflection.tau);
    }

    /// The row is copied to e, whose upper part is free until then.
    void reflectFromRight(int l) const
    {
        double* w = f_.e + l + 1;
        for (int j = l + 1; j < x_.cols; ++j) f_.e[j] = *x_.at(l, j);
        const Reflection reflection = makeReflection(x_.cols - l - 1, w);
        f_.e[l] = reflection.sigma;
        if (reflection.tau != 0.0) {
            const Panel below = from(l + 1, l + 1);
            std::fill_n(f_.work, below.rows, 0.0);
            addCombination(below, w, f_.work);
            subtractMultiples(f_.work, w, reflection.tau, below);
        }
        keepRight(l, w, reflection.tau);
    }

    // --- some steps together ---

    /// Until its end a block only reads the matrix, which is X + L R with two more columns of L and
    /// rows of R after each step: for u y^T and x v^T, where u and v are the reflections, y and x
    /// what they make of the matrix. L lies in the columns that earlier steps are through with, R
    /// in the rows.
    void reduceTogether(int first, int count)
    {
        const Panel L = x_.part(first, 0, x_.rows - first, 2 * count);
        const Panel R = x_.part(0, 0, 2 * count, x_.cols);
        for (int k = 0; k < count; ++k) {
            const int l = first + k;
            const Panel left = L.part(k, 0, x_.rows - l, 2 * count);
            reflectColumn(l, 2 * k, left, R);
            reflectRow(l, 2 * k + 1, left, R);
        }
        const Panel rest = from(first + count, first + count);
        const auto size = [](int n) { return static_cast<unsigned>(n); };
        addProduct<double>({L.at(count, 0), 1, L.leading, size(rest.rows), size(2 * count)},
                           {R.at(0, first + count), 1, R.leading, size(2 * count), size(rest.cols)},
                           rest.corner, rest.leading);
    }

    /// Column l, and all that the other columns have to do with its reflection. The products of a
    /// column need no other one's, so it also joins the sum that row l's reflection is going to
    /// need, while it is at hand: L's next column is left with that row times the matrix.
    void reflectColumn(int l, int used, const Panel& L, const Panel& R)
    {
        double* u = x_.at(l, l);
        addCombination(L.part(0, 0, L.rows, used), R.at(0, l), u);
        const Reflection reflection = makeReflection(L.rows, u);
        f_.s[l] = reflection.sigma;
        keepLeft(l, u, reflection.tau);
        std::copy_n(u, L.rows, L.at(0, used));

        double products[2 * kMostTogether];
        double row[2 * kMostTogether];
        dotColumns(L.part(0, 0, L.rows, used), u, products);
        for (int m = 0; m < used; ++m) row[m] = *L.at(0, m);
        double* sum = L.at(1, used + 1);
        std::fill_n(sum, L.rows - 1, 0.0);
        for (int j = l + 1; j < x_.cols; j += kPanel) {
            const int count = std::min(kPanel, x_.cols - j);
            double* columns[kPanel] = {};
            for (int c = 0; c < count; ++c) columns[c] = x_.at(l, j + c);
            double y[kPanel];
            panelDot(RowRange{0, L.rows}, u, columns, count, y);
            for (int c = 0; c < count; ++c) {
                double* known = R.at(0, j + c);
                double entry = *columns[c];  // of row l
                for (int m = 0; m < used; ++m) {
                    y[c] += products[m] * known[m];
                    entry += row[m] * known[m];
                }
                known[used] = -reflection.tau * y[c];
                f_.e[j + c] = entry + known[used];
                ++columns[c];
            }
            panelCombine(RowRange{0, L.rows - 1}, sum, columns, count, f_.e + j);
        }
    }

    void reflectRow(int l, int used, const Panel& L, const Panel& R)
    {
        const Panel below = from(l + 1, l + 1);
        double* v = f_.e + l + 1;
        double* x = L.at(1, used);
        const double alpha = v[0];
        const Reflection reflection = makeReflection(below.cols, v);
        f_.e[l] = reflection.sigma;
        keepRight(l, v, reflection.tau);
        if (hasSafeSquare(std::fabs(reflection.sigma))) {
            // The row times the matrix, put right for v's first element, which is 1.
            const double change = 1.0 - reflection.inverse * alpha;
            for (int i = 0; i < below.rows; ++i)
                x[i] = reflection.inverse * x[i] + change * below.corner[i];
        } else {
            std::fill_n(x, below.rows, 0.0);
            addCombination(below, v, x);
        }
        double products[2 * kMostTogether] = {};
        addCombination(R.part(0, l + 1, used, below.cols), v, products);
        addCombination(L.part(1, 0, below.rows, used), products, x);
        for (int i = 0; i < below.rows; ++i) x[i] *= reflection.tau;
        for (int j = 0; j < below.cols; ++j) *R.at(used, l + 1 + j) = -v[j];
    }

    const Panel x_;
    const BidiagonalForm& f_;
    const int lefts_;
    const int rights_;
    const bool moderate_;
};

// --- the reflections multiplied out ---

void setToAxis(const Panel& q, int j)
{
    std::fill_n(q.at(0, j), q.rows, 0.0);
    *q.at(j, j) = 1.0;
}

/// Calls visit(first, count, taus) for blocks of reflections whose tau lies on the diagonal, last
/// block first.
template <class Visit>
void inBlocksBackwards(const Panel& vectors, int reflections, Visit visit)
{
    constexpr int kMost = ReflectionBlock::kMost;
    for (int first = (reflections - 1) / kMost * kMost; first >= 0; first -= kMost) {
        const int count = std::min(kMost, reflections - first);
        double taus[kMost];
        for (int k = 0; k < count; ++k) taus[k] = *vectors.at(first + k, first + k);
        visit(
            ReflectionBlock::combine(vectors.part(first, first, vectors.rows - first, count), taus),
            first, count);
    }
}

/// q = H(0) H(1) ... times the identity, last reflection first: the columns before l are axes
/// still, which reflection l leaves alone.
void multiplyOut(const Panel& q, int reflections)
{
    for (int j = reflections; j < q.cols; ++j) setToAxis(q, j);
    inBlocksBackwards(q, reflections, [&](const ReflectionBlock& block, int first, int count) {
        const int end = first + count;
        block.apply(q.part(first, end, q.rows - first, q.cols - end));
        for (int l = end - 1; l >= first; --l) {
            double* w = q.at(l, l);
            const double tau = *w;
            *w = 1.0;
            reflectColumns(w, tau, q.part(l, l + 1, q.rows - l, end - l - 1));
            std::fill(q.at(0, l), w, 0.0);
            for (int i = 0; i < q.rows - l; ++i) w[i] *= -tau;  // the axis, reflected: axis - tau w
            *w += 1.0;
        }
    });
}

void reduce(const Panel& x, const BidiagonalForm& form, bool moderate)
{
    Reduction reduction(x, form, moderate);
    reduction.run();
    if (form.left.cols > 0) multiplyOut(form.left, std::min(reduction.lefts(), form.left.cols));
    if (form.right.cols > 0) {
        setToAxis(form.right, 0);
        for (int j = 1; j < form.right.cols; ++j) *form.right.at(0, j) = 0.0;
        multiplyOut(form.right.part(1, 1, x.cols - 1, x.cols - 1), reduction.rights());
    }
}

/// R goes to the last rows of the left factor, if that is wanted, and its own factor to the first:
/// there is room for both.
void reduceTriangleOf(const Panel& x, const BidiagonalForm& form)
{
    const int p = x.cols;
    const Panel& left = form.left;
    double* taus = form.s;
    reduceInBlocks(x, p, taus, [](int, int) {});
    const Panel triangle = left.cols > 0 ? left.part(x.rows - p, 0, p, p) : x.part(0, 0, p, p);
    for (int j = 0; j < p; ++j) {
        if (left.cols > 0) std::copy_n(x.at(0, j), j + 1, triangle.at(0, j));
        std::fill_n(triangle.at(0, j) + j + 1, p - j - 1, 0.0);
        if (left.cols > 0) *x.at(j, j) = taus[j];
    }
    const Panel leftOfTriangle = left.cols > 0 ? left.part(0, 0, p, p) : left;
    reduce(triangle, {form.s, form.e, form.work, leftOfTriangle, form.right}, true);
    if (left.cols == 0) return;
    for (int j = 0; j < p; ++j) std::fill_n(left.at(p, j), x.rows - p, 0.0);
    for (int j = p; j < left.cols; ++j) setToAxis(left, j);
    inBlocksBackwards(x, p, [&](const ReflectionBlock& block, int first, int) {
        block.apply(left.part(first, 0, x.rows - first, left.cols));
    });
}

}  // namespace

void bidiagonalise(const Panel& x, const BidiagonalForm& form)
{
    const bool moderate = isModerate(x);
    if (moderate && x.cols > kMostTogether && x.rows >= 2 * x.cols)
        reduceTriangleOf(x, form);
    else
        reduce(x, form, moderate);
}

}  // namespace knotwork
