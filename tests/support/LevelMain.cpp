// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <iostream>
#include <map>
#include <memory>
#include <string>

#include "knotwork/platform/cpu.h"

namespace {

constexpr int kSkipped = 77;  // what CTest takes for "not run"

}  // namespace

/// The tests with the machine's widest vectors or with those that --level names: the same bits are
/// promised for all, so the same tests hold.
int main(int argc, char** argv)
{
    testing::InitGoogleMock(&argc, argv);
    std::unique_ptr<knotwork::LevelForTests> held;
    if (argc > 2 && argv[1] == std::string("--level")) {
        const std::map<std::string, knotwork::CpuLevel> levels = {
            {"plain", knotwork::CpuLevel::kPlain},
            {"256", knotwork::CpuLevel::kVectors256},
            {"512", knotwork::CpuLevel::kVectors512}};
        const knotwork::CpuLevel level = levels.at(argv[2]);
        held = std::make_unique<knotwork::LevelForTests>(level);
        if (knotwork::cpuLevel() != level) {
            std::cout << "this machine has no vectors of " << argv[2] << " bits\n";
            return kSkipped;
        }
    }
    return RUN_ALL_TESTS();
}
