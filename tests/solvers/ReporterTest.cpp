// SPDX-License-Identifier: MIT
#include "knotwork/solvers/TsolverReporter.h"
#include "tests/solvers/SolverProbe.h"
#include "tests/support/Testing.h"

using namespace knotwork_test;
using testing::internal::CaptureStderr;
using testing::internal::GetCapturedStderr;

TEST(ReporterTest, AnActiveOneBracketsEveryFormOfMessage)
{
    TsolverReporter reporter(false);
    EXPECT_TRUE(reporter.isActive());
    CaptureStderr();
    reporter.report("%d of %s", 3, "four");
    reporter.report(Tstring("100%d literally"));
    reporter.progress(0.25);
    const char* noFormat = nullptr;
    reporter.report(noFormat, 0);
    EXPECT_EQ(GetCapturedStderr(),
              "Report: (3 of four)\n"
              "Report: (100%d literally)\n"
              "Report: (Constraint solving ... 25 completed.)\n");
}

TEST(ReporterTest, AQuietOneWritesNothing)
{
    TsolverReporter reporter(true);
    EXPECT_FALSE(reporter.isActive());
    CaptureStderr();
    reporter.report("%d", 1);
    reporter.report(Tstring("text"));
    reporter.progress(1.0);
    EXPECT_EQ(GetCapturedStderr(), "");
}

TEST(ReporterTest, ALongMessageIsCutToItsBuffer)
{
    TsolverReporter reporter(false);
    CaptureStderr();
    reporter.report("%s", std::string(3000, 'x').c_str());
    EXPECT_EQ(GetCapturedStderr(), "Report: (" + std::string(1023, 'x') + ")\n");
}

TEST(ReporterTest, EveryFormEndsInTheTextFormOfADerivedReporter)
{
    ListeningReporter reporter;
    reporter.report("%d", 7);
    reporter.report(Tstring("%d"));
    reporter.progress(0.5);
    EXPECT_THAT(reporter.lines, ElementsAre("7", "%d", "Constraint solving ... 50 completed."));
}
