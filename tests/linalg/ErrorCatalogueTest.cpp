// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <cstddef>
#include <string>

#include "knotwork/linalg/LXError.h"
#include "knotwork/linalg/detail/CatalogueInit.h"
#include "tests/support/CaseName.h"
#include "tests/support/RecordingHandler.h"

namespace {

using knotwork_test::CaseName;
using knotwork_test::RecordingHandler;
using testing::Eq;
using testing::KilledBySignal;

static_assert(offsetof(ErrorEntry, severity) == 0 && offsetof(ErrorEntry, format) == 8);
static_assert(offsetof(ErrorCatalogue, number) == 0 && offsetof(ErrorCatalogue, entries) == 8 &&
              offsetof(ErrorCatalogue, count) == 16 && offsetof(ErrorCatalogue, next) == 24);
static_assert(offsetof(ErrorRecord, code) == 0 && offsetof(ErrorRecord, severity) == 4 &&
              offsetof(ErrorRecord, origin) == 8);

struct Message {
    unsigned code;
    int severity;
    const char* format;
};
// clang-format off: one message a line
const Message kMessages[] = {
    {0x3000, 2, "[BADORDER: %s]: Mismatch of function (%u) and rhs (%u) order"},
    {0x3001, 2, "[BADPARITY: %s]: Length (%u) of a real series must be %s"},
    {0x3002, 2, "[BADVERNO: %s]: Bad formatting version number.  Expected %d; got %d"},
    {0x3003, 2, "[DIVZERO: %s]: Divide by zero."},
    {0x3004, 2, "[GENERIC: %s]: Generic error number %d; %s"},
    {0x3005, 2, "[INDEX: %s]: Index (%d) out of range [0->%u]"},
    {0x3006, 2, "[LUNDEF: %s]: Undefined LU factorization"},
    {0x3007, 2, "[MNMATCH: %s]: Rows or columns do not match: (%u, %u) vs (%u, %u)"},
    {0x3008, 2, "[NOMEM: %s]: Out of memory"},
    {0x3009, 2, "[NPOINTS: %s]: Vector (%u) %s %d"},
    {0x300A, 2, "[NSQUARE: %s]: Matrix (%u, %u) is not square"},
    {0x300B, 2, "[LXBREQ: %s]: LXBlock new request of size %d != correct: %d"},
    {0x300C, 2, "[SLICE: %s]: slice (%d, %u, %d) cannot be made from vector (%u)"},
    {0x300D, 2, "[STRIDE: %s]: Stride must be 1"},
    {0x300E, 2, "[VMNMATCH: %s]: %s Vector (%u) does not match matrix: (%u, %u)"},
    {0x300F, 2, "[VNMATCH: %s]: Vector lengths do not match (%u vs %u)"},
    {0x3010, 0, "[ZEROSD: %s]: Series has zero standard deviation"},
    {0x3011, 0, "[ZEROVEC: %s]: %s: vector is empty"},
    {0x3012, 2, "[ZPIVOT: %s]: Pivot number %d is zero"},
    {0x3013, 2, "[BADROOT: %s]: Zero'th root of 1 requested"},
    {0x4000, 0, "Internal error, you've found a bug"},
    {0x4001, 2, "Matrix pick out of range: index %d not in 0->%d"},
    {0x4002, 2, "Constant reference was changed from %g to %g"},
    {0x4003, 2, "Complex constant reference was changed from %g+i%g to %g+i%g"},
    {0x4004, 2, "Matrix sizes don't match (%dx%d) vs (%dx%d)"},
    {0x4005, 2, "Element (%dx%d) not in matrix of size (%ux%u)"},
    {0x4006, 2, "Row (%d) not in matrix with %u rows"},
    {0x4007, 2, "Column (%d) not in matrix with %u columns"},
    {0x4008, 2, "Diagonal %d not in %s matrix of size (%ux%u)"},
    {0x4009, 2, "Can't change element (%d,%d) of %s"},
    {0x400A, 2, "Wrong number of points (%u) for %ux%u %s"},
    {0x400B, 2, "Wrong number of points (%u) for %ux%u %s with bandwidth %u"},
    {0x400C, 2, "Bandwidths don't match: lower: %u & %u, upper: %u & %u"},
    {0x400D, 2, "%dx%d matrix not square"},
    {0x400E, 0, "matrix not symmetric"},
    {0x400F, 0, "matrix not anti-symmetric"},
    {0x4010, 0, "matrix not hermetian"},
    {0x4011, 0, "matrix not banded"},
    {0x4012, 0, "matrix not triangular"},
    {0x4013, 0, "matrix not tri-diagonal"},
    {0x4014, 2, "inner product not possible between %s (%ux%u) and vector (%u)"},
    {0x4015, 2, "inner product not possible vector(%u) and %s (%ux%u)"},
    {0x4016, 2, "inner product not possible %s matrices (%u,%u) and (%ux%u)"},
    {0x4017, 2, "wrong number of elements (%u) for %s (%ux%u)"},
    {0x4018, 2, "cant build order %u leading submatrix of order %u matrix"},
    {0x4019, 2, "Restoring %s, data vector len %d, expected %u"},
    {0x5000, 0, "Internal error, you've found a bug"},
    {0x5001, 0, "Condition number not calculated"},
    {0x5002, 2, "b vector length wrong (%u!=%u)"},
    {0x5003, 0, "diagonal of Hermetian matrix being factorized is non-real"},
    {0x5004, 2, "vector wrong length to permute (%u!=%u)"},
    {0x5005, 2, "Invalid Cholesky shift direction"},
    {0x5006, 2, "Invalid Cholesky shift columns (%d,%d)"},
    {0x5007, 2, "Data matrix wrong height (%u!=%u)"},
    {0x5008, 2, "Vector to hold sines or cosines wrong length (%u!=%u)"},
    {0x5009, 2, "Different number of residuals than data columns (%u!=%u)"},
    {0x500A, 2, "Internal error: The normal equations are not positive definite"},
    {0x500B, 2, "Data %d doesn't exist, only %d data columns"},
    {0x500C, 2, "vec pointers must have stride == 1"},
    {0x500D, 2, "Can't factorize, %ux%u matrix not square"},
    {0x500E, 2, "Can't factorize, bandwidth %d too big for %dx%d matrix"},
    {0x500F, 0, "Called factor, but a factorization has already been computed"},
    {0x5010, 2, "Matrix must have more rows than cols to be factorizable, but %d<%d"},
    {0x5011, 2, "Can't solve system of equations, matrix not successfully factorized"},
    {0x5012, 2, "Pivoting position specifier must be INITIAL,FREE, or FINAL, not %d"},
};
// clang-format on

TEST(ErrorCatalogueTest, EveryMessageIsWordForWordTheOneHostsKnow)
{
    static_assert(std::size(kMessages) == 65);
    for (const Message& m : kMessages) {
        SCOPED_TRACE(m.format);
        const ErrorEntry* entry = lxLookup(m.code);
        ASSERT_NE(entry, nullptr);
        EXPECT_STREQ(entry->format, m.format);
        EXPECT_EQ(entry->severity, m.severity);
    }
}

TEST(ErrorCatalogueTest, CatalogueKnowsHowManyMessagesItHas)
{
    for (const auto& [number, count] : {std::pair{3, 20}, std::pair{4, 26}, std::pair{5, 19}}) {
        ErrorCatalogue* catalogue = lxUnregister(number);
        ASSERT_NE(catalogue, nullptr) << number;
        EXPECT_EQ(catalogue->count, count) << number;
        EXPECT_EQ(catalogue->next, nullptr) << number;
        lxRegister(catalogue);
    }
}

TEST(ErrorCatalogueTest, LookupTrustsTheEntryIndexAndReadsTheHighFourBits)
{
    const ErrorEntry entries[] = {{0, "first"}, {2, "second"}};
    ErrorCatalogue shortCount = {7, entries, 1, nullptr};
    EXPECT_EQ(lxLookup(0x7000), nullptr);
    lxRegister(&shortCount);
    EXPECT_EQ(lxLookup(0x7000), &entries[0]);
    EXPECT_EQ(lxLookup(0x7001), &entries[1]) << "the count is not consulted";
    EXPECT_EQ(lxUnregister(7), &shortCount);
    EXPECT_EQ(lxLookup(0x7000), nullptr);
    EXPECT_EQ(lxUnregister(7), nullptr);
}

TEST(ErrorCatalogueTest, RegistryAppendsAtTheTailOnceAndRemovesTheFirstOfANumber)
{
    const ErrorEntry entries[] = {{0, "a"}, {0, "b"}, {0, "c"}};
    ErrorCatalogue first = {7, &entries[0], 1, nullptr};
    ErrorCatalogue other = {8, &entries[1], 1, nullptr};
    ErrorCatalogue second = {7, &entries[2], 1, nullptr};
    for (ErrorCatalogue* c : {&first, &other, &second, &first, &second}) lxRegister(c);
    EXPECT_EQ(first.next, &other);
    EXPECT_EQ(other.next, &second);
    EXPECT_EQ(second.next, nullptr);
    EXPECT_EQ(lxLookup(0x7000), &entries[0]);
    EXPECT_EQ(lxUnregister(8), &other) << "from the middle";
    EXPECT_EQ(first.next, &second);
    EXPECT_EQ(other.next, nullptr) << "unregistering clears the link";
    EXPECT_EQ(lxUnregister(7), &first);
    EXPECT_EQ(lxLookup(0x7000), &entries[2]);
    EXPECT_EQ(lxUnregister(7), &second);
    EXPECT_NE(lxLookup(0x5000), nullptr) << "the others stay";
}

TEST(ErrorCatalogueTest, RegistryWorksFromEmpty)
{
    ErrorCatalogue* built[] = {lxUnregister(3), lxUnregister(4), lxUnregister(5)};
    EXPECT_EQ(lxUnregister(3), nullptr);
    EXPECT_EQ(lxLookup(0x3005), nullptr);
    for (ErrorCatalogue* c : built) lxRegister(c);
    EXPECT_STREQ(lxLookup(0x5000)->format, lxLookup(0x4000)->format);
}

TEST(ErrorCatalogueTest, ACatalogueStaysWhileAnyUnitNeedsIt)
{
    {
        const knotwork::FactorErrors another;
        EXPECT_NE(lxLookup(0x5002), nullptr);
    }
    EXPECT_NE(lxLookup(0x5002), nullptr) << "the library still holds its own";
}

TEST(ErrorHandlerTest, SettingReturnsThePreviousOneAndSaysSoOnStandardOutput)
{
    const LXErrHandler mine = [](ErrorRecord*, va_list) {};
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    const LXErrHandler standard = setLXErrHandler(mine);
    const LXErrHandler replaced = setLXErrHandler(nullptr);
    const LXErrHandler afterNull = setLXErrHandler(standard);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "In setLXErrHandler...\nIn setLXErrHandler...\nIn setLXErrHandler...\n");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(replaced, mine);
    EXPECT_EQ(afterNull, standard) << "null stands for the default handler";
}

TEST(ErrorHandlerTest, RaisesReachTheHandlerAsTheyWereMade)
{
    RecordingHandler handler(RecordingHandler::OnFatal::kReturn);
    lxRaise(0x4004, 1, 2, 3, 4);
    ErrorRecord record = {0x3005, 0, 0x1234};
    lxRaiseRecord(&record, "Some", 7, 3u);
    ASSERT_EQ(handler.raised().size(), 2u);
    EXPECT_EQ(handler.raised()[0].code, 0x4004);
    EXPECT_EQ(handler.raised()[0].severity, 1);
    EXPECT_EQ(handler.raised()[0].origin, 0xF000);
    EXPECT_EQ(handler.raised()[0].message, "Matrix sizes don't match (1x2) vs (3x4)");
    EXPECT_EQ(handler.raised()[1].severity, 0);
    EXPECT_EQ(handler.raised()[1].origin, 0x1234);
    EXPECT_EQ(handler.raised()[1].message, "[INDEX: Some]: Index (7) out of range [0->3]");
}

void raiseWithSeverity(std::uint16_t code, std::int32_t severity, const char* name)
{
    ErrorRecord record = {code, severity, 0x900E};
    lxRaiseRecord(&record, name);
}

struct DefaultOutcome {
    const char* name;
    void (*raise)();
    const char* output;
    friend void PrintTo(const DefaultOutcome& c, std::ostream* os) { *os << c.name; }
};

const DefaultOutcome kContinuing[] = {
    {"codeZeroIsNoError", [] { lxRaise(0); }, ""},
    {"codeZeroWhateverTheSeverity", [] { raiseWithSeverity(0, 2, ""); }, ""},
    {"catalogueSaysWarning", [] { raiseWithSeverity(0x3010, 1, "Some"); },
     "** [ZEROSD: Some]: Series has zero standard deviation.\n** Processing continues.\n"},
    {"recordTurnsFatalIntoWarning", [] { raiseWithSeverity(0x300D, 0, "Some"); },
     "** [STRIDE: Some]: Stride must be 1.\n** Processing continues.\n"},
};
const DefaultOutcome kTerminating[] = {
    {"catalogueSaysFatal", [] { lxRaise(0x3005, "DoubleVec", 7, 3u); },
     "** [INDEX: DoubleVec]: Index (7) out of range [0->3].\n** Processing terminated.\n"},
    {"unknownCatalogue", [] { lxRaise(0x7001); },
     "** Error number 0x7001.** Processing terminated.\n"},
    {"unknownCatalogueEvenAsAWarning", [] { raiseWithSeverity(0xA003, 0, ""); },
     "** Error number 0xa003.** Processing terminated.\n"},
    {"unregisteredCatalogue",
     [] {
         lxUnregister(5);
         lxRaise(0x5002, 1u, 2u);
     },
     "** Error number 0x5002.** Processing terminated.\n"},
    {"recordTurnsWarningIntoFatal", [] { raiseWithSeverity(0x3010, 2, "Some"); },
     "** [ZEROSD: Some]: Series has zero standard deviation.\n** Processing terminated.\n"},
    {"anySeverityButZeroAndOneIsFatal", [] { raiseWithSeverity(0x3010, -1, "Some"); },
     "** [ZEROSD: Some]: Series has zero standard deviation.\n** Processing terminated.\n"},
};

class DefaultHandlerTest : public testing::TestWithParam<DefaultOutcome> {};

TEST_P(DefaultHandlerTest, WarnsInThreeTextsAndGoesOn)
{
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    GetParam().raise();
    EXPECT_EQ(testing::internal::GetCapturedStderr(), GetParam().output);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}
INSTANTIATE_TEST_SUITE_P(Continuing, DefaultHandlerTest, testing::ValuesIn(kContinuing),
                         CaseName());

class DefaultHandlerDeathTest : public testing::TestWithParam<DefaultOutcome> {};

TEST_P(DefaultHandlerDeathTest, NamesTheFaultAndAborts)
{
    EXPECT_EXIT(GetParam().raise(), KilledBySignal(SIGABRT), Eq(GetParam().output));
}
INSTANTIATE_TEST_SUITE_P(Terminating, DefaultHandlerDeathTest, testing::ValuesIn(kTerminating),
                         CaseName());

}  // namespace
