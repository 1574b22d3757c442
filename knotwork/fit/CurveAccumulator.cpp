// SPDX-License-Identifier: MIT
#include "knotwork/fit/CurveAccumulator.h"

#include <utility>

#include "knotwork/fit/CurveState.h"

namespace knotwork {

namespace {

constexpr const char* kNotValid = "degree and knots do not make a basis";

}  // namespace

CurveAccumulator::CurveAccumulator(const BsplineBasis& basis, int dimension)
{
    if (basis.valid() && dimension >= 1) state_ = std::make_unique<CurveState>(basis, dimension);
}

CurveAccumulator::CurveAccumulator(const CurveAccumulator& other)
    : state_(other.valid() ? std::make_unique<CurveState>(*other.state_) : nullptr)
{
}

CurveAccumulator::CurveAccumulator(CurveAccumulator&&) noexcept = default;

CurveAccumulator& CurveAccumulator::operator=(CurveAccumulator other) noexcept
{
    std::swap(state_, other.state_);
    return *this;
}

CurveAccumulator::~CurveAccumulator() = default;

std::string CurveAccumulator::add(const SampleStretch& samples)
{
    return valid() ? state_->add(samples) : kNotValid;
}

std::string CurveAccumulator::merge(const CurveAccumulator& other)
{
    return valid() && other.valid() ? state_->merge(*other.state_) : kNotValid;
}

long long CurveAccumulator::rows() const
{
    return valid() ? state_->rows() : 0;
}

int CurveAccumulator::dimension() const
{
    return valid() ? state_->dimension() : 0;
}

const BsplineBasis& CurveAccumulator::basis() const
{
    static const BsplineBasis none;
    return valid() ? state_->basis() : none;
}

std::vector<unsigned char> CurveAccumulator::bytes() const
{
    return valid() ? state_->bytes() : std::vector<unsigned char>();
}

std::string CurveAccumulator::read(const std::vector<unsigned char>& bytes)
{
    return readState(bytes, state_);
}

}  // namespace knotwork
