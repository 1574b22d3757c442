// SPDX-License-Identifier: MIT
#pragma once

#include "knotwork/export.h"
#include "knotwork/platform/base.h"

/// Diagnostics channel: one line a message on the standard error stream, nothing while quiet.
/// A plain text goes in as a Tstring or through "%s": a call of report with one character pointer
/// alone is ambiguous, since both the format and the text form would serve.
class KNOTWORK_EXPORT TbaseReporter {
  public:
    explicit TbaseReporter(bool quiet) : quiet_(quiet) {}
    virtual ~TbaseReporter();

    /// printf-style, cut at 1023 characters; nothing happens for a null format.
    virtual void report(const char* format, ...) __attribute__((format(printf, 2, 3)));
    virtual void report(const Tstring& text);
    /// Writes "Report: (", the text and ")\n" unless quiet; the text is data, never a format.
    /// The other forms end here.
    virtual void report(const char* text);

    bool isActive() const { return !quiet_; }  ///< whether composing a message is worth it

  private:
    void reportText(const char* text);

    bool quiet_;
};
