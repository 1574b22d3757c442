// SPDX-License-Identifier: MIT
#include "knotwork/fit/KernelBuild.h"

#include "knotwork/geometry/TnkRw.h"
#include "knotwork/platform/kernel.h"

namespace knotwork {

namespace {

constexpr int kPeriodicForm = 2;  // as the records spell it

DoubleVec numbersOf(const std::vector<double>& values)
{
    return DoubleVec(values.data(), static_cast<unsigned>(values.size()));
}

int spansOf(const BsplineBasis& basis)
{
    return basis.count() - basis.degree();
}

}  // namespace

std::shared_ptr<AP_SPLINE> makeSpline(const BsplineBasis& basis, int dimension,
                                      const std::vector<double>& controlPoints)
{
    const std::unique_ptr<nk_spline, void (*)(nk_spline*)> record(
        nk_bld_bs(dimension, nullptr, nullptr, 0, basis.degree(), spansOf(basis), 0,
                  basis.closed() ? kPeriodicForm : 0),
        nk_free_bs);
    if (record == nullptr) return nullptr;
    const bool filled =
        TnkRw::dvToKnots(numbersOf(basis.knots()), record.get()) &&
        TnkRw::tvToCvs(TtupleVector(dimension, numbersOf(controlPoints)), record.get(), true);
    return filled ? std::make_shared<AP_SPLINE>(record.get()) : nullptr;
}

std::shared_ptr<AP_SURFACE> makeSurface(const BsplineBasis& u, const BsplineBasis& v, int dimension,
                                        const std::vector<double>& controlPoints)
{
    const std::unique_ptr<nk_surface, void (*)(nk_surface*)> record(
        nk_bld_srf(dimension, 0, u.degree(), v.degree(), spansOf(u), spansOf(v), 0, 0, 0, 0),
        nk_free_srf);
    if (record == nullptr) return nullptr;
    const TtupleMatrix net(dimension, u.count(), v.count(), numbersOf(controlPoints));
    const bool filled =
        TnkRw::dvToKnots(numbersOf(u.knots()), numbersOf(v.knots()), record.get()) &&
        TnkRw::tmToCvs(net, record.get(), true);
    return filled ? std::make_shared<AP_SURFACE>(record.get(), 0) : nullptr;
}

}  // namespace knotwork
