// SPDX-License-Identifier: MIT
#include "tools/knotfit/OutputFiles.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <new>
#include <system_error>
#include <utility>

#include "tools/knotfit/Failure.h"
#include "tools/knotfit/PendingFiles.h"

namespace knotfit {

namespace {

namespace fs = std::filesystem;

[[noreturn]] void refuseToWrite(const std::string& path)
{
    refuse(path + ": cannot be written");
}

bool writeAll(std::FILE* file, const std::string& content)
{
    const bool complete = std::fwrite(content.data(), 1, content.size(), file) == content.size();
    return std::fflush(file) == 0 && complete;
}

bool writeAndClose(std::FILE* file, const std::string& content)
{
    if (file == nullptr) return false;
    const bool complete = writeAll(file, content);
    return std::fclose(file) == 0 && complete;
}

/// Where the bytes go: a link's target, so that the link stays.
fs::path placeOf(const std::string& path)
{
    std::error_code ignored;
    const fs::path target = fs::weakly_canonical(fs::absolute(path, ignored), ignored);
    return target.empty() ? fs::path(path) : target;
}

/// What may not be replaced: links to nowhere, or in a circle, and files that the user may not
/// write.
void checkPlace(const std::string& path, const fs::path& place)
{
    std::error_code fault;
    const bool isThere = fs::exists(fs::status(path, fault));
    if (!isThere && fs::is_symlink(fs::symlink_status(path, fault)))
        refuse(path + ": is a link that leads nowhere");
    if (isThere && access(place.c_str(), W_OK) != 0) refuseToWrite(path);
}

/// A file that was not there before, beside a place; the name it got goes to `beside`. What an
/// earlier process left there, killed too fast to clear it away, is in nobody's way.
std::FILE* createBeside(const fs::path& place, fs::path& beside)
{
    const PendingFiles::Quiet quiet;
    const std::string partial = ".partial" + std::to_string(getpid());
    for (int i = 0; i < 100; ++i) {
        fs::path name(place);
        name += partial + (i > 0 ? "-" + std::to_string(i) : "");
        if (std::FILE* file = std::fopen(name.c_str(), "wbx")) {
            beside = name;
            PendingFiles::add(name);
            return file;
        }
        if (errno != EEXIST) break;
    }
    return nullptr;
}

/// A file that waits beside its place, and goes unless it is moved there.
class Waiting {
  public:
    Waiting(const std::string& path, const std::string& content)
        : path_(path), place_(placeOf(path))
    {
        checkPlace(path_, place_);
        if (writeAndClose(createBeside(place_, beside_), content)) return;
        remove();
        refuseToWrite(path_);
    }
    Waiting(Waiting&& other) noexcept
        : path_(std::move(other.path_)),
          place_(std::move(other.place_)),
          beside_(std::exchange(other.beside_, fs::path()))
    {
    }
    Waiting& operator=(Waiting&&) = delete;
    ~Waiting() { remove(); }

    void move()
    {
        std::error_code fault;
        const fs::file_status earlier = fs::status(place_, fault);
        if (fs::exists(earlier)) fs::permissions(beside_, earlier.permissions(), fault);
        fs::rename(beside_, place_, fault);
        if (fault) refuseToWrite(path_);
        PendingFiles::forget(beside_);
        beside_.clear();
    }

  private:
    void remove()
    {
        std::error_code ignored;
        if (beside_.empty()) return;
        fs::remove(beside_, ignored);
        PendingFiles::forget(beside_);
    }

    std::string path_;
    fs::path place_;
    fs::path beside_;
};

bool writtenInPlace(const std::string& path)
{
    std::error_code ignored;
    return fs::exists(path, ignored) && !fs::is_regular_file(path, ignored);
}

/// Whether two paths, neither of them "-" for a stream, lead to one file that would be replaced.
bool samePlace(const std::string& a, const std::string& b)
{
    return a != "-" && b != "-" && !writtenInPlace(a) && placeOf(a) == placeOf(b);
}

}  // namespace

void OutputFiles::add(const std::string& path, std::string content)
{
    for (const std::string& input : inputs_)
        if (samePlace(path, input)) refuse(path + ": is the input");
    for (const File& file : files_)
        if (samePlace(path, file.path) || (path == "-" && file.path == "-"))
            refuse(path + ": cannot take two outputs");
    files_.push_back({path, std::move(content)});
}

bool OutputFiles::takeStandardOutput() const
{
    return std::any_of(files_.begin(), files_.end(), [](const File& f) { return f.path == "-"; });
}

void OutputFiles::write() const
{
    std::set_new_handler(nullptr);  // from here on whatever fails must clear away what waits
    std::vector<Waiting> waiting;
    for (const File& file : files_)
        if (file.path != "-" && !writtenInPlace(file.path))
            waiting.emplace_back(file.path, file.content);
    for (const File& file : files_) {
        if (file.path == "-" && !writeAll(stdout, file.content)) refuseToWrite("standard output");
        if (file.path != "-" && writtenInPlace(file.path) &&
            !writeAndClose(std::fopen(file.path.c_str(), "wb"), file.content))
            refuseToWrite(file.path);
    }
    const PendingFiles::Quiet quiet;  // all of them move, or none
    for (Waiting& file : waiting) file.move();
}

}  // namespace knotfit
