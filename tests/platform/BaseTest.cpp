// SPDX-License-Identifier: MIT
#include "knotwork/platform/base.h"

#include <memory>

#include "tests/support/Testing.h"

namespace {

TEST(TstringTest, OwnsItsTextAndTakesNullForEmpty)
{
    char text[] = "fit";
    Tstring s(text);
    text[0] = 'p';
    const Tstring copy(s);
    s.catenate(": ");
    s.catenate(s);
    s.catenate(nullptr);
    EXPECT_STREQ(s.asC(), "fit: fit: ");
    EXPECT_STREQ(copy.asC(), "fit");
    s.copyChar(nullptr);
    EXPECT_STREQ(s.asC(), "");
    s.setDouble(-1.5e-10);
    EXPECT_STREQ(s.asC(), "-1.5e-10");
}

TEST(TexceptionTest, RecordsKnowAncestorsAndMakeObjects)
{
    const Tmetaclass* memory = TmemoryException::sTypeof();
    EXPECT_TRUE(memory->istype(memory) && memory->istype(Texception::sTypeof()));
    EXPECT_FALSE(memory->istype(nullptr) || Texception::sTypeof()->istype(memory));
    const std::unique_ptr<TmemoryException> made(
        static_cast<TmemoryException*>(memory->construct()));
    EXPECT_EQ(made->typeof(), memory);
    EXPECT_EQ(Tmetaclass("abstract", nullptr, nullptr).construct(), nullptr);
}

TEST(TexceptionTest, CastsUpwardsAndCachesOneInstanceOfTheOwnClass)
{
    TmemoryException memory;
    Texception plain;
    EXPECT_EQ(memory.cast(Texception::sTypeof()), &memory);
    EXPECT_EQ(plain.cast(TmemoryException::sTypeof()), nullptr);
    Texception* kept = memory.cache();
    EXPECT_NE(kept, &memory);
    EXPECT_EQ(kept->cache(), kept);
    EXPECT_EQ(TmemoryException().cache(), kept);
    EXPECT_EQ(kept->typeof(), TmemoryException::sTypeof());
    EXPECT_NE(plain.cache(), kept);
}

TEST(TransformTest, PostmultiplyingUsesTheOldCoordinatesThroughout)
{
    T4dDblMatrix m;
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j) m(i, j) += 4 * i + j;
    T4dDblPoint p(1, 2, 3, 4);
    p.postmultBy(TxformMatrix(m).matrix());
    EXPECT_EQ(p.x, 1 + 4 * 2 + 8 * 3 + 12 * 4);
    EXPECT_EQ(p.y, 2 + 1 + 5 * 2 + 9 * 3 + 13 * 4);
    EXPECT_EQ(p.z, 3 + 2 + 6 * 2 + 10 * 3 + 14 * 4);
    EXPECT_EQ(p.w, 4 + 3 + 7 * 2 + 11 * 3 + 15 * 4);
}

}  // namespace
