// SPDX-License-Identifier: MIT
#include "knotwork/linalg/LXError.h"

#include <cstdio>
#include <cstdlib>

namespace {

constexpr std::int32_t kUseCatalogue = 1;
constexpr std::uint16_t kGenericOrigin = 0xF000;

void terminateProcessing()
{
    std::fputs("** Processing terminated.\n", stderr);
    std::abort();
}

void defaultHandler(ErrorRecord* record, va_list arguments)
{
    if (record->code == 0) return;
    std::fputs("** ", stderr);
    const ErrorEntry* entry = lxLookup(record->code);
    if (entry == nullptr) {
        // No line feed of its own: the terminate line follows on the same line.
        std::fprintf(stderr, "Error number 0x%hx.", record->code);
        terminateProcessing();
        return;
    }
    std::vfprintf(stderr, entry->format, arguments);
    std::fputs(".\n", stderr);
    const std::int32_t severity =
        record->severity == kUseCatalogue ? entry->severity : record->severity;
    if (severity != 0) terminateProcessing();
    std::fputs("** Processing continues.\n", stderr);
}

LXErrHandler handlerInForce = defaultHandler;
ErrorCatalogue* firstCatalogue = nullptr;

}  // namespace

LXErrHandler setLXErrHandler(LXErrHandler handler)
{
    std::printf("In setLXErrHandler...\n");
    const LXErrHandler previous = handlerInForce;
    handlerInForce = handler != nullptr ? handler : defaultHandler;
    return previous;
}

void lxRaise(unsigned code, ...)
{
    ErrorRecord record = {static_cast<std::uint16_t>(code), kUseCatalogue, kGenericOrigin};
    va_list arguments;
    va_start(arguments, code);
    handlerInForce(&record, arguments);
    va_end(arguments);
}

void lxRaiseRecord(ErrorRecord* record, ...)
{
    va_list arguments;
    va_start(arguments, record);
    handlerInForce(record, arguments);
    va_end(arguments);
}

const ErrorEntry* lxLookup(unsigned code)
{
    const auto number = static_cast<std::int32_t>(code >> 12 & 0xFu);
    for (const ErrorCatalogue* c = firstCatalogue; c != nullptr; c = c->next)
        if (c->number == number) return c->entries + (code & 0xFFFu);
    return nullptr;
}

void lxRegister(ErrorCatalogue* catalogue)
{
    ErrorCatalogue** link = &firstCatalogue;
    for (; *link != nullptr; link = &(*link)->next)
        if (*link == catalogue) return;
    *link = catalogue;
}

ErrorCatalogue* lxUnregister(int number)
{
    for (ErrorCatalogue** link = &firstCatalogue; *link != nullptr; link = &(*link)->next) {
        ErrorCatalogue* found = *link;
        if (found->number != number) continue;
        *link = found->next;
        found->next = nullptr;
        return found;
    }
    return nullptr;
}
