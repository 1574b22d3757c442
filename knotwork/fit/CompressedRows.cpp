// SPDX-License-Identifier: MIT
#include "knotwork/fit/CompressedRows.h"

#include <algorithm>
#include <utility>

#include "knotwork/factor/RowStream.h"
#include "knotwork/fit/Numbers.h"

namespace knotwork {

CompressedRows::CompressedRows(const ScaledRows& rows, std::function<void(int)> progress)
    : rows_(rows), progress_(std::move(progress))
{
}

TtupleVector CompressedRows::compress(const TtupleVector& rhs)
{
    constexpr int kTold = 4096;  // rows between two words of progress
    const BasisRows& system = rows_.rows();
    const int cols = rows_.basis().count();
    TtupleVector given(rhs);
    DoubleVec numbers(contiguous(given.data()));
    const double* point = numbers.data();
    RowStream stream(cols, rhs.size());
    for (int i = 0; i < rows_.dataRows(); ++i, point += rhs.size()) {
        stream.add(system.firstColumn(i), system.entries(i), system.width(), point);
        if (progress_ != nullptr && (i + 1) % kTold == 0) progress_(kTold);
    }
    stream.finish();

    triangle_ = stream.triangle();
    TtupleVector result(rhs.size(), cols + rows_.constraints(), 0.0);
    double* to = result.data().data();
    for (int j = 0; j < cols; ++j, to += rhs.size()) std::copy_n(stream.rhs(j), rhs.size(), to);
    result.setPoints(cols, rows_.constraints(),
                     given.lPoints(rows_.dataRows(), rows_.constraints()));
    return result;
}

DoubleGenMat CompressedRows::matrix() const
{
    const BasisRows& system = rows_.rows();
    const int cols = rows_.basis().count();
    const int constraints = rows_.constraints();
    DoubleGenMat matrix(static_cast<unsigned>(cols + constraints), static_cast<unsigned>(cols),
                        0.0);
    for (int j = 0; j < cols; ++j)
        for (int k = 0; k < triangle_.count(j); ++k) matrix(j, j + k) = triangle_.row(j)[k];
    for (int c = 0; c < constraints; ++c) {
        const int row = rows_.dataRows() + c;
        for (int k = 0; k < system.width(); ++k)
            matrix(cols + c, system.firstColumn(row) + k) = system.entries(row)[k];
    }
    return matrix;
}

}  // namespace knotwork
