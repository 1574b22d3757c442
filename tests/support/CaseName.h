// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace knotwork_test {

/// Names a parameterised test after its case: the last argument of INSTANTIATE_TEST_SUITE_P.
struct CaseName {
    template <class Info>
    std::string operator()(const Info& test) const
    {
        return test.param.name;
    }
};

}  // namespace knotwork_test
