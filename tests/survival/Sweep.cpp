// SPDX-License-Identifier: MIT
// Usage: survival_sweep [--short] [layers | fits] [a part of a subject's name]
#include "tests/survival/Sweep.h"

#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

#include "knotwork/linalg/LXError.h"

namespace {

// --- allocations, all of which come through here ---

constexpr long kNever = 0;
constexpr long kShort = 60;  // runs of a subject and mode, spread over its allocations
bool armed = false;
bool forGood = false;  // whether what follows the first failure fails too
long made = 0;         // while armed
long failing = kNever;
long live = 0;  // blocks

void* allocate(std::size_t size) noexcept
{
    if (armed) {
        ++made;
        if (failing != kNever && (made == failing || (forGood && made > failing))) return nullptr;
    }
    void* block = std::malloc(size > 0 ? size : 1);
    if (block != nullptr) ++live;
    return block;
}

// --- error handlers ---

enum class Mode { kThrow, kReturn, kDefault };
constexpr const char* kModes[] = {"throws", "returns", "aborts"};

struct Raised {};
int firstCode = 0;

void handle(ErrorRecord* record)
{
    if (firstCode == 0) firstCode = record->code;
}

void throwing(ErrorRecord* record, va_list)
{
    handle(record);
    throw Raised();
}

void returning(ErrorRecord* record, va_list)
{
    handle(record);
}

// --- what a child process does and its parent reads ---

struct Tally {
    long at;  // the run under way
    long runs, raised, thrown, quiet;
    long crashes, leaks, lies, wrongAnswers;

    long faults() const { return crashes + leaks + lies + wrongAnswers; }
};
Tally* shared = nullptr;

void report(const char* fault, const survival::Subject& subject, Mode mode, long k)
{
    std::fprintf(stdout, "  FAULT %s: %s, handler %s%s, allocation %ld\n", fault, subject.name,
                 kModes[static_cast<int>(mode)], forGood ? " for good" : "", k);
    std::fflush(stdout);
}

void runOnce(const survival::Subject& subject, Mode mode, long k)
{
    shared->at = k;
    made = 0;
    failing = k;
    const long before = live;
    survival::Trial trial;
    const Tally then = *shared;
    subject.run(trial);
    ++shared->runs;
    if (shared->raised == then.raised && shared->thrown == then.thrown) ++shared->quiet;
    if (live != before) {
        ++shared->leaks;
        report("leak", subject, mode, k);
    }
    if (!trial.honest()) {
        ++shared->lies;
        report("claims success", subject, mode, k);
    }
    if (shared->wrongAnswers != then.wrongAnswers) report("wrong answer", subject, mode, k);
}

/// Runs k = first, first + step ... last, until one ends the process.
[[noreturn]] void child(const survival::Subject& subject, Mode mode, long first, long last,
                        long step, int errors)
{
    const int output = dup(STDOUT_FILENO);
    std::freopen("/dev/null", "w", stdout);
    if (mode != Mode::kDefault) setLXErrHandler(mode == Mode::kThrow ? throwing : returning);
    std::fflush(stdout);
    dup2(output, STDOUT_FILENO);
    if (mode == Mode::kDefault) dup2(errors, STDERR_FILENO);
    for (long k = first; k <= last; k += step) runOnce(subject, mode, k);
    std::fflush(stdout);
    _exit(0);
}

/// Whether the catalogued end is what the child's errors say.
bool saysNoMemory(int errors)
{
    char text[512] = "";
    const ssize_t n = read(errors, text, sizeof text - 1);
    return n > 0 && std::strcmp(text,
                                "** [NOMEM: LXBlock]: Out of memory.\n"
                                "** Processing terminated.\n") == 0;
}

void sweep(const survival::Subject& subject, Mode mode, long last, long step)
{
    for (long first = 1; first <= last;) {
        int errors[2];
        if (pipe(errors) != 0) std::abort();
        const pid_t pid = fork();
        if (pid == 0) child(subject, mode, first, last, step, errors[1]);
        close(errors[1]);
        int status = 0;
        waitpid(pid, &status, 0);
        const bool finished = WIFEXITED(status) && WEXITSTATUS(status) == 0;
        if (!finished) {
            ++shared->runs;
            if (mode == Mode::kDefault && WIFSIGNALED(status) && WTERMSIG(status) == SIGABRT &&
                saysNoMemory(errors[0])) {
                ++shared->raised;
            } else {
                ++shared->crashes;
                report("crash", subject, mode, shared->at);
            }
        }
        close(errors[0]);
        first = finished ? last + 1 : shared->at + step;
    }
}

/// The number of allocations in a run where none fails; -1 when that is not as it should be.
long allocationsOf(const survival::Subject& subject)
{
    failing = kNever;
    for (int round = 0; round < 2; ++round) {  // the first makes what is made once for good
        made = 0;
        const long before = live;
        survival::Trial trial;
        subject.run(trial);
        if (!trial.honest()) {
            std::printf("  FAULT %s is wrong with all memory\n", subject.name);
            return -1;
        }
        if (round == 1 && live != before) {
            std::printf("  FAULT %s leaks with all memory\n", subject.name);
            return -1;
        }
    }
    return made;
}

/// The faults found.
long sweep(const survival::Subject& subject, long mostRuns, long& runs)
{
    const long count = allocationsOf(subject);
    if (count < 0) return 1;
    const long step = mostRuns > 0 ? std::max(1L, (count + mostRuns - 1) / mostRuns) : 1;
    long faults = 0;
    for (const bool after : {false, true})
        for (const Mode mode : {Mode::kThrow, Mode::kReturn, Mode::kDefault}) {
            forGood = after;
            *shared = {};
            std::fflush(stdout);
            sweep(subject, mode, count, step);
            faults += shared->faults();
            runs += shared->runs;
            std::printf("%-28s %-8s %-4s %6ld %6ld %6ld %6ld %6ld %6ld %6ld %6ld %6ld\n",
                        subject.name, kModes[static_cast<int>(mode)], after ? "all" : "one", count,
                        shared->runs, shared->raised, shared->thrown, shared->quiet,
                        shared->crashes, shared->leaks, shared->lies, shared->wrongAnswers);
        }
    return faults;
}

}  // namespace

// The forms for arrays, with sizes and without exceptions end here, as the standard has it.
void* operator new(std::size_t size)
{
    void* block = allocate(size);
    if (block == nullptr) throw std::bad_alloc();
    return block;
}
void operator delete(void* block) noexcept
{
    if (block != nullptr) --live;
    std::free(block);
}
void operator delete(void* block, std::size_t) noexcept
{
    operator delete(block);
}

void survival::Trial::attempt(const std::function<void()>& operation, Answer answer)
{
    firstCode = 0;
    armed = true;
    try {
        operation();
        armed = false;
    } catch (const Raised&) {
        armed = false;
        ++shared->raised;
        if (firstCode != 0x3008) ++shared->wrongAnswers;
        return;
    } catch (const std::bad_alloc&) {
        armed = false;
        ++shared->thrown;
        if (answer != Answer::kException) ++shared->wrongAnswers;
        return;
    }
    if (firstCode == 0) return;
    ++shared->raised;
    if (firstCode != 0x3008) ++shared->wrongAnswers;
}

int main(int argc, char** argv)
{
    long mostRuns = 0;
    bool layers = true;
    bool fits = true;
    const char* wanted = "";
    for (int i = 1; i < argc; ++i)
        if (std::strcmp(argv[i], "--short") == 0)
            mostRuns = kShort;
        else if (std::strcmp(argv[i], "layers") == 0)
            fits = false;
        else if (std::strcmp(argv[i], "fits") == 0)
            layers = false;
        else
            wanted = argv[i];
    std::vector<survival::Subject> subjects;
    const auto add = [&](const std::vector<survival::Subject>& more) {
        subjects.insert(subjects.end(), more.begin(), more.end());
    };
    if (layers) {
        add(survival::arraySubjects());
        add(survival::factorSubjects());
        add(survival::solverSubjects());
        add(survival::shapeSubjects());
    }
    if (fits) add(survival::fitSubjects());
    shared = static_cast<Tally*>(
        mmap(nullptr, sizeof(Tally), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
    if (shared == MAP_FAILED) return 2;
    std::printf("%-28s %-8s %-4s %6s %6s %6s %6s %6s %6s %6s %6s %6s\n", "subject", "handler",
                "fail", "allocs", "runs", "raised", "thrown", "quiet", "crash", "leak", "lie",
                "wrong");
    long faults = 0;
    long runs = 0;
    for (const survival::Subject& subject : subjects)
        if (std::strstr(subject.name, wanted) != nullptr) faults += sweep(subject, mostRuns, runs);
    std::printf("%ld runs, %ld faults\n", runs, faults);
    return faults == 0 ? 0 : 1;
}
