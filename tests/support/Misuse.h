// SPDX-License-Identifier: MIT
#pragma once

#include "tests/support/RecordingHandler.h"
#include "tests/support/Testing.h"

namespace knotwork_test {

/// Something a caller must not do, and what the handler is told about it.
struct Misuse {
    unsigned code;
    std::string message;
    std::function<void()> commit;
    unsigned origin = 0xF000;
    int severity = 1;
    std::string name = {};  // where several have the same message
};

/// With a handler that throws, one raise as described; with one that returns, it comes first, and
/// the address sanitizer watches what follows.
template <class Misuses>
void expectRaises(const Misuses& misuses)
{
    for (const Misuse& misuse : misuses)
        for (const auto onFatal :
             {RecordingHandler::OnFatal::kThrow, RecordingHandler::OnFatal::kReturn}) {
            const bool throws = onFatal == RecordingHandler::OnFatal::kThrow;
            SCOPED_TRACE(misuse.name + " " + misuse.message +
                         (throws ? ", thrown" : ", returning"));
            RecordingHandler handler(onFatal);
            try {
                misuse.commit();
                EXPECT_TRUE(!throws ||
                            lxLookup(static_cast<std::uint16_t>(misuse.code))->severity == 0)
                    << "went on";
            } catch (const RaisedError&) {
            }
            ASSERT_FALSE(handler.raised().empty());
            const Raised& first = handler.raised().front();
            EXPECT_EQ(first.code, misuse.code);
            EXPECT_EQ(first.origin, misuse.origin);
            EXPECT_EQ(first.severity, misuse.severity);
            EXPECT_EQ(first.message, misuse.message);
        }
}

}  // namespace knotwork_test
