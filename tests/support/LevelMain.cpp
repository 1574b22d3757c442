// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "knotwork/platform/cpu.h"

/// The tests with the machine's widest vectors or, with the argument --plain, without any: the same
/// bits are promised for both, so the same tests hold.
int main(int argc, char** argv)
{
    testing::InitGoogleMock(&argc, argv);
    std::unique_ptr<knotwork::LevelForTests> level;
    if (argc > 1 && argv[1] == std::string("--plain"))
        level = std::make_unique<knotwork::LevelForTests>(knotwork::CpuLevel::kPlain);
    return RUN_ALL_TESTS();
}
