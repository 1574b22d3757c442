// SPDX-License-Identifier: MIT
#pragma once

namespace knotwork {

/// The end of the process after a programming error, without a message. A host's terminate handler
/// has its say; the run-time library's own would print a line, so it is passed over.
[[noreturn]] void endProcess();

}  // namespace knotwork
