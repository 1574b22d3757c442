// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

struct ErrorCatalogue;

namespace knotwork {

/// Keeps a message catalogue registered while any unit that raises its errors is alive. Every such
/// unit holds one static object of each type it needs; the first constructed registers, the last
/// destroyed unregisters. Counter and catalogue are constant-initialised, so the order of static
/// construction does not matter.
template <int Number>
class CatalogueInit {
  public:
    CatalogueInit();
    ~CatalogueInit();
    CatalogueInit(const CatalogueInit&) = delete;
    CatalogueInit& operator=(const CatalogueInit&) = delete;

  private:
    static ErrorCatalogue catalogue_;
    static std::uint16_t users_;
};

using CoreErrors = CatalogueInit<3>;
using MatrixErrors = CatalogueInit<4>;
using FactorErrors = CatalogueInit<5>;

}  // namespace knotwork
