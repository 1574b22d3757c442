// SPDX-License-Identifier: MIT
#include "tools/knotfit/PendingFiles.h"

#include <unistd.h>

#include <climits>
#include <cstring>

namespace knotfit {

namespace {

constexpr int kSignals[] = {SIGHUP, SIGINT, SIGTERM};

// A handler may only look at what is there already: no containers.
char names[8][PATH_MAX];

sigset_t signalSet()
{
    sigset_t set;
    sigemptyset(&set);
    for (const int signal : kSignals) sigaddset(&set, signal);
    return set;
}

extern "C" void removeAndEnd(int signal)
{
    for (const char* name : names)
        if (name[0] != '\0') unlink(name);
    raise(signal);  // its default is back in place, and ends the process
}

void listen()
{
    static bool listening = false;
    if (listening) return;
    listening = true;
    for (const int signal : kSignals) {
        struct sigaction action = {};
        if (sigaction(signal, nullptr, &action) != 0 || action.sa_handler == SIG_IGN) continue;
        action = {};
        action.sa_handler = removeAndEnd;
        action.sa_mask = signalSet();
        action.sa_flags = static_cast<int>(SA_RESETHAND);
        sigaction(signal, &action, nullptr);
    }
}

}  // namespace

PendingFiles::Quiet::Quiet()
{
    const sigset_t set = signalSet();
    sigprocmask(SIG_BLOCK, &set, &before_);
}

PendingFiles::Quiet::~Quiet()
{
    sigprocmask(SIG_SETMASK, &before_, nullptr);
}

void PendingFiles::add(const std::filesystem::path& path)
{
    listen();
    if (path.native().size() >= PATH_MAX) return;
    for (char(&name)[PATH_MAX] : names)
        if (name[0] == '\0') {
            std::strcpy(name, path.c_str());
            return;
        }
}

void PendingFiles::forget(const std::filesystem::path& path)
{
    for (char(&name)[PATH_MAX] : names)
        if (path == name) name[0] = '\0';
}

}  // namespace knotfit
