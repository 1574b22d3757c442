// SPDX-License-Identifier: MIT
#include "knotwork/factor/kernels/RotationWaves.h"

#include <algorithm>

#include "knotwork/factor/kernels/Pack.h"
#include "knotwork/platform/cpu.h"

namespace knotwork {

namespace {

constexpr int kPacks = 6;  // rows that go through the registers together, in packs

struct Wave {
    const double* c;
    const double* s;
    int length;
};

/// The column between two rotations stays in registers.
template <int Packs>
[[gnu::always_inline]] inline void rotatePacks(const Wave& wave, double* x, std::ptrdiff_t leading)
{
    Pack left[Packs];
    for (int p = 0; p < Packs; ++p) left[p] = load(x + p * kPack);
    for (int k = 0; k < wave.length; ++k, x += leading) {
        const double c = wave.c[k];
        const double s = wave.s[k];
        for (int p = 0; p < Packs; ++p) {
            const Pack right = load(x + leading + p * kPack);
            store(x + p * kPack, c * left[p] + s * right);
            left[p] = c * right - s * left[p];
        }
    }
    for (int p = 0; p < Packs; ++p) store(x + p * kPack, left[p]);
}

inline void rotateRow(const Wave& wave, double* x, std::ptrdiff_t leading)
{
    for (int k = 0; k < wave.length; ++k, x += leading) {
        const double left = x[0];
        x[0] = wave.c[k] * left + wave.s[k] * x[leading];
        x[leading] = wave.c[k] * x[leading] - wave.s[k] * left;
    }
}

struct RotateKernel {
    [[gnu::always_inline]] void operator()(const Wave* waves, const int* firsts, int count,
                                           const Panel& matrix) const
    {
        constexpr int kRows = kPacks * static_cast<int>(kPack);
        int i = 0;
        for (; i + kRows <= matrix.rows; i += kRows)
            for (int w = 0; w < count; ++w)
                rotatePacks<kPacks>(waves[w], matrix.at(i, firsts[w]), matrix.leading);
        for (; i + kPack <= matrix.rows; i += kPack)
            for (int w = 0; w < count; ++w)
                rotatePacks<1>(waves[w], matrix.at(i, firsts[w]), matrix.leading);
        for (; i < matrix.rows; ++i)
            for (int w = 0; w < count; ++w)
                rotateRow(waves[w], matrix.at(i, firsts[w]), matrix.leading);
    }
};

}  // namespace

RotationWaves::RotationWaves(const Panel& matrix, const Panel& room)
    : matrix_(matrix), room_(room), most_(std::min(kMostWaves, room.cols / 2))
{
}

void RotationWaves::end()
{
    if (length_ > 0) lengths_[wave_++] = length_;
    length_ = 0;
}

void RotationWaves::begin(int column)
{
    end();
    if (wave_ == most_) apply();
    firsts_[wave_] = column;
}

void RotationWaves::apply()
{
    end();
    Wave waves[kMostWaves];
    for (int w = 0; w < wave_; ++w)
        waves[w] = {room_.at(0, 2 * w), room_.at(0, 2 * w + 1), lengths_[w]};
    const Wave* first = waves;
    const int* firsts = firsts_;
    if (matrix_.cols > 0) runKernel(RotateKernel(), first, firsts, wave_, matrix_);
    wave_ = 0;
}

}  // namespace knotwork
