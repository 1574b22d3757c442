// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "tools/knotfit/CsvTable.h"
#include "tools/knotfit/FitFile.h"

namespace knotfit {

/// A fit at the parameters of a table, a line each: of a curve the point and its derivatives up to
/// `order`, of a surface S, Su, Sv, Suu, Suv, Svv, ... The table has a column a parameter. Throws
/// a Failure that names the line where a parameter lies outside the fit.
std::string evaluated(const FitFile& fit, const CsvTable& table, int order);

}  // namespace knotfit
