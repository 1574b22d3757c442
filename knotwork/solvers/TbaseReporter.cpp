// SPDX-License-Identifier: MIT
#include "knotwork/solvers/TbaseReporter.h"

#include <cstdarg>
#include <cstdio>

TbaseReporter::~TbaseReporter() = default;

void TbaseReporter::report(const char* format, ...)
{
    if (format == nullptr) return;
    char text[1024];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    reportText(text);
}

void TbaseReporter::report(const Tstring& text)
{
    reportText(text.asC());
}

void TbaseReporter::report(const char* text)
{
    if (isActive() && text != nullptr) std::fprintf(stderr, "Report: (%s)\n", text);
}

/// Calls the overridable text form, which no plain call can name.
void TbaseReporter::reportText(const char* text)
{
    constexpr void (TbaseReporter::*textForm)(const char*) = &TbaseReporter::report;
    (this->*textForm)(text);
}
