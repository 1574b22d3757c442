// SPDX-License-Identifier: MIT
#include "tools/knotfit/GatheredFiles.h"

#include <cstdio>
#include <memory>
#include <utility>

#include "tools/knotfit/Failure.h"
#include "tools/knotfit/FitText.h"

namespace knotfit {

namespace {

using knotwork::CurveAccumulator;

std::vector<unsigned char> bytesOf(const std::string& name)
{
    constexpr std::size_t kChunk = std::size_t{1} << 16;
    using File = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;
    const bool standard = name == "-";
    const File file(standard ? stdin : std::fopen(name.c_str(), "rb"),
                    standard ? [](std::FILE*) { return 0; } : std::fclose);
    if (file == nullptr) refuse(name + ": cannot be opened");
    std::vector<unsigned char> bytes;
    for (std::size_t got = kChunk; got > 0;) {
        const std::size_t before = bytes.size();
        bytes.resize(before + kChunk);
        got = std::fread(bytes.data() + before, 1, kChunk, file.get());
        bytes.resize(before + got);
    }
    if (std::ferror(file.get()) != 0) refuse(nameOf(name) + ": cannot be read");
    return bytes;
}

}  // namespace

CurveAccumulator readGathered(const std::vector<std::string>& names)
{
    CurveAccumulator whole(knotwork::BsplineBasis(), 1);
    for (const std::string& name : names) {
        CurveAccumulator part(knotwork::BsplineBasis(), 1);
        std::string fault = part.read(bytesOf(name));
        if (fault.empty() && whole.valid())
            fault = whole.merge(part);
        else if (fault.empty())
            whole = std::move(part);
        if (!fault.empty()) refuse(nameOf(name) + ": " + fault);
    }
    return whole;
}

}  // namespace knotfit
