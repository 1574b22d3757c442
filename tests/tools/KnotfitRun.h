// SPDX-License-Identifier: MIT
#pragma once

#include <stdlib.h>
#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <stdexcept>

#include <nlohmann/json.hpp>

#include "tests/support/Testing.h"

namespace knotwork_test {

struct Outcome {
    int status;  // 128 and the signal's number when there was one
    std::string out;
    std::string err;
};

/// A directory of its own to run the tool in; goes with everything in it.
class KnotfitRun {
  public:
    KnotfitRun()
    {
        std::string pattern = testing::TempDir() + "knotfit.XXXXXX";
        if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("no directory to work in");
        home_ = pattern;
        std::filesystem::create_directory(home_ / "run");
    }
    ~KnotfitRun() { std::filesystem::remove_all(home_); }
    KnotfitRun(const KnotfitRun&) = delete;
    KnotfitRun& operator=(const KnotfitRun&) = delete;

    void write(const std::string& name, const std::string& content) const
    {
        std::ofstream(home_ / "run" / name, std::ios::binary) << content;
    }
    std::string read(const std::string& name) const { return content(home_ / "run" / name); }

    /// Names in the directory that the tool runs in.
    std::set<std::string> files() const
    {
        std::set<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(home_ / "run"))
            names.insert(entry.path().filename().string());
        return names;
    }

    /// Runs `knotfit <arguments>`, quoted for a shell, after other commands of the shell.
    Outcome knotfit(const std::string& arguments, const std::string& before = "") const
    {
        return shell(before + " '" KNOTFIT_PROGRAM "' " + arguments);
    }

    Outcome shell(const std::string& command) const
    {
        const std::string script = "cd '" + (home_ / "run").string() + "' && { " + command + "\n}";
        write("../script", script);
        const int code =
            std::system(("sh '" + (home_ / "script").string() + "' </dev/null >'" +
                         (home_ / "out").string() + "' 2>'" + (home_ / "err").string() + "'")
                            .c_str());
        const int status = WIFEXITED(code) ? WEXITSTATUS(code) : 128 + WTERMSIG(code);
        return {status, content(home_ / "out"), content(home_ / "err")};
    }

  private:
    static std::string content(const std::filesystem::path& path)
    {
        std::ostringstream text;
        text << std::ifstream(path, std::ios::binary).rdbuf();
        return text.str();
    }

    std::filesystem::path home_;
};

/// The fit of `knotfit curve`, which has nothing to say beside it.
inline nlohmann::json fitOf(const KnotfitRun& run, const std::string& arguments)
{
    const Outcome outcome = run.knotfit("curve " + arguments + " -o fit.json");
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_THAT(outcome.err, IsEmpty());
    return nlohmann::json::parse(run.read("fit.json"));
}

/// A call that comes to nothing, and why.
struct Refusal {
    const char* name;
    std::string arguments;
    int status;
    std::string sentence;
    friend void PrintTo(const Refusal& c, std::ostream* os) { *os << c.name; }
};

/// One sentence on standard error and nothing else, anywhere.
inline void expectSentence(const Outcome& outcome, int status, const std::string& sentence)
{
    EXPECT_EQ(outcome.status, status) << outcome.err;
    EXPECT_THAT(outcome.err, StartsWith("knotfit: "));
    EXPECT_THAT(outcome.err, HasSubstr(sentence));
    EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 1) << outcome.err;
    EXPECT_THAT(outcome.out, IsEmpty());
}

}  // namespace knotwork_test
