// SPDX-License-Identifier: MIT
#pragma once

#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <string>
#include <vector>

#include "knotwork/linalg/LXError.h"

/// Helpers of the tests; namespace of their own, so that they never hide what they test.
namespace knotwork_test {

struct Raised {
    std::uint16_t code;
    std::int32_t severity;
    std::uint16_t origin;
    std::string message;  // formatted; empty for a code without an entry
};

/// What a RecordingHandler throws in place of ending the process.
struct RaisedError : std::exception {
    const char* what() const noexcept override { return "an error of the catalogue was raised"; }
};

/// While alive, takes every raise of the library: records it, then throws RaisedError if it is
/// fatal (warnings return), or returns from everything with OnFatal::kReturn. One at a time; the
/// handler that was there before comes back at the end.
class RecordingHandler {
  public:
    enum class OnFatal { kThrow, kReturn };

    explicit RecordingHandler(OnFatal onFatal = OnFatal::kThrow)
        : previous_(setLXErrHandler(handle)), outer_(current()), onFatal_(onFatal)
    {
        current() = this;
    }
    ~RecordingHandler()
    {
        current() = outer_;
        setLXErrHandler(previous_);
    }
    RecordingHandler(const RecordingHandler&) = delete;
    RecordingHandler& operator=(const RecordingHandler&) = delete;

    const std::vector<Raised>& raised() const { return raised_; }
    void forget() { raised_.clear(); }

  private:
    static RecordingHandler*& current()
    {
        static RecordingHandler* handler = nullptr;
        return handler;
    }

    static void handle(ErrorRecord* record, va_list arguments)
    {
        const ErrorEntry* entry = lxLookup(record->code);
        char text[512] = "";
        if (entry != nullptr) std::vsnprintf(text, sizeof text, entry->format, arguments);
        current()->raised_.push_back({record->code, record->severity, record->origin, text});
        const std::int32_t severity =
            record->severity == 1 && entry != nullptr ? entry->severity : record->severity;
        if (severity != 0 && current()->onFatal_ == OnFatal::kThrow) throw RaisedError();
    }

    LXErrHandler previous_;
    RecordingHandler* outer_;
    OnFatal onFatal_;
    std::vector<Raised> raised_;
};

/// The codes raised while f runs under a handler that returns even from fatal errors, so that what
/// follows an error runs too.
template <class F>
std::vector<unsigned> codesRaisedBy(F f)
{
    const RecordingHandler handler(RecordingHandler::OnFatal::kReturn);
    f();
    std::vector<unsigned> codes;
    for (const Raised& raised : handler.raised()) codes.push_back(raised.code);
    return codes;
}

}  // namespace knotwork_test
