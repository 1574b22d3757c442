// SPDX-License-Identifier: MIT
#include <csignal>

#include "knotwork/linalg/LXError.h"
#include "knotwork/linalg/detail/CatalogueInit.h"
#include "tests/support/RecordingHandler.h"
#include "tests/support/Testing.h"

namespace {

using namespace knotwork_test;
using testing::Eq;
using testing::KilledBySignal;

static_assert(offsetof(ErrorEntry, severity) == 0 && offsetof(ErrorEntry, format) == 8);
static_assert(offsetof(ErrorCatalogue, number) == 0 && offsetof(ErrorCatalogue, entries) == 8 &&
              offsetof(ErrorCatalogue, count) == 16 && offsetof(ErrorCatalogue, next) == 24);
static_assert(offsetof(ErrorRecord, code) == 0 && offsetof(ErrorRecord, severity) == 4 &&
              offsetof(ErrorRecord, origin) == 8);

/// A digest (FNV-1a, 64 bits) of all codes, severities and words, as hosts know them.
TEST(ErrorCatalogueTest, EveryMessageIsWordForWordTheOneHostsKnow)
{
    std::uint64_t digest = 14695981039346656037u;
    std::string all;  // for the one who finds it changed
    for (const auto& [number, count] : {std::pair{3, 20}, std::pair{4, 26}, std::pair{5, 19}})
        for (int i = 0; i < count; ++i) {
            const int code = 0x1000 * number + i;
            const ErrorEntry* entry = lxLookup(static_cast<unsigned>(code));
            ASSERT_NE(entry, nullptr) << code;
            all += std::to_string(code) + ' ' + std::to_string(entry->severity) + ' ' +
                   entry->format + '\n';
        }
    for (const char c : all) digest = (digest ^ static_cast<unsigned char>(c)) * 1099511628211u;
    EXPECT_EQ(digest, 0x2FB9A0FE9A016CEBu) << all;
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

TEST(DefaultHandlerTest, WarnsInThreeTextsAndGoesOn)
{
    for (const DefaultOutcome& c : kContinuing) {
        SCOPED_TRACE(c.name);
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        c.raise();
        EXPECT_EQ(testing::internal::GetCapturedStderr(), c.output);
        EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    }
}

TEST(DefaultHandlerDeathTest, NamesTheFaultAndAborts)
{
    for (const DefaultOutcome& c : kTerminating) {
        SCOPED_TRACE(c.name);
        EXPECT_EXIT(c.raise(), KilledBySignal(SIGABRT), Eq(c.output));
    }
}

}  // namespace
