// SPDX-License-Identifier: MIT
#pragma once

#include <cstdarg>
#include <cstdint>

#include "knotwork/export.h"

/// One message of a catalogue: what happens after it is printed, and its printf-style format.
struct ErrorEntry {
    std::int32_t severity;  ///< 0 warning, processing continues; 2 fatal, processing terminates
    const char* format;
};

/// A numbered set of messages. Error codes are 16 bits: the high 4 name the catalogue, the low 12
/// the entry inside it.
struct ErrorCatalogue {
    std::int32_t number;
    const ErrorEntry* entries;
    std::int32_t count;
    ErrorCatalogue* next;  ///< the next registered catalogue; null when unregistered or last
};

/// What a raise hands to the handler.
struct ErrorRecord {
    std::uint16_t code;
    std::int32_t severity;  ///< 1: the catalogue entry's; 0: go on; anything else: stop
    std::uint16_t origin;   ///< tag of the class that raised; carried, not interpreted
};

typedef void (*LXErrHandler)(ErrorRecord*, va_list);

/// Installs a handler and returns the one before it; null stands for the default handler, which
/// writes to the standard error stream and ends the process after a fatal error.
/// Says "In setLXErrHandler..." on standard output at every call, which is intended.
/// A handler that lives in a plug-in is taken back before the plug-in is unloaded. When the library
/// itself is unloaded, its catalogues and the handler go with it; loaded again it starts afresh.
/// A handler may throw. After one that returns from a fatal error an operation ends at once or goes
/// on inside its own memory; an array that results may be empty, so ask for its length before use.
KNOTWORK_EXPORT LXErrHandler setLXErrHandler(LXErrHandler handler);

/// Raises `code` with the arguments of its message, severity as catalogued, origin 0xF000.
KNOTWORK_EXPORT void lxRaise(unsigned code, ...);

/// Raises a filled record; the message's arguments follow.
KNOTWORK_EXPORT void lxRaiseRecord(ErrorRecord* record, ...);

/// The entry of a code, null when no registered catalogue has its number. The entry index is not
/// compared with the catalogue's count, which is intended: callers pass valid codes.
KNOTWORK_EXPORT const ErrorEntry* lxLookup(unsigned code);

/// Appends a catalogue to the registry; nothing happens when it is there already.
KNOTWORK_EXPORT void lxRegister(ErrorCatalogue* catalogue);

/// Takes the first catalogue with this number out of the registry and returns it; null if none.
KNOTWORK_EXPORT ErrorCatalogue* lxUnregister(int number);
