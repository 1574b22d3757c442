// SPDX-License-Identifier: MIT
#include "tools/knotfit/CsvTable.h"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <memory>
#include <utility>

#include "tools/knotfit/Failure.h"

namespace knotfit {

namespace {

constexpr std::size_t kMostBytes = std::size_t{1} << 31;  // of a file; a row takes two at least
constexpr std::size_t kMostInLine = std::size_t{1} << 26;

/// The lines of a file, or of standard input for "-". Of the text it keeps no more than it must to
/// hand out one line.
class LineSource {
  public:
    explicit LineSource(const std::string& path)
        : path_(path),
          file_(path == "-" ? stdin : std::fopen(path.c_str(), "rb"),
                path == "-" ? [](std::FILE*) { return 0; } : std::fclose)
    {
        if (file_ == nullptr) refuse(path + ": cannot be opened");
    }

    /// The next line without its end, good until the one after it; nothing behind the last one.
    std::optional<std::string_view> next()
    {
        std::size_t end = text_.find('\n', at_);
        while (end == std::string::npos) {
            text_.erase(0, at_);
            at_ = 0;
            const std::size_t searched = text_.size();
            if (searched > kMostInLine) refuse(path_ + ": has a line of more than 64 MiB");
            if (!readMore()) break;
            end = text_.find('\n', searched);
        }
        if (at_ == text_.size()) return std::nullopt;
        const std::string_view line = std::string_view(text_).substr(at_, end - at_);
        at_ = end == std::string::npos ? text_.size() : end + 1;
        return line;
    }

  private:
    bool readMore()
    {
        constexpr std::size_t kChunk = std::size_t{1} << 16;
        const std::size_t kept = text_.size();
        text_.resize(kept + kChunk);
        const std::size_t got = std::fread(text_.data() + kept, 1, kChunk, file_.get());
        text_.resize(kept + got);
        if (std::ferror(file_.get()) != 0) refuse(path_ + ": cannot be read");
        bytes_ += got;
        if (bytes_ > kMostBytes) refuse(path_ + ": is larger than 2 GiB");
        return got > 0;
    }

    std::string path_;
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> file_;
    std::string text_;
    std::size_t at_ = 0;
    std::size_t bytes_ = 0;
};

std::string_view trimmed(std::string_view text)
{
    constexpr const char* kBlank = " \t\r";
    const std::size_t first = text.find_first_not_of(kBlank);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(kBlank) - first + 1);
}

/// What a cell says, short enough and clean enough for a message.
std::string quoted(std::string_view cell)
{
    constexpr std::size_t kMost = 40;
    std::string text = "'";
    for (const char c : cell.substr(0, kMost)) text += c >= ' ' && c <= '~' ? c : '?';
    return text + (cell.size() > kMost ? "...'" : "'");
}

class CsvReader {
  public:
    explicit CsvReader(const std::string& path)
        : name_(path == "-" ? "standard input" : path), source_(path)
    {
    }

    CsvTable read()
    {
        while (const std::optional<std::string_view> line = source_.next()) {
            const bool marked = line_ == 0 && line->substr(0, 3) == "\xEF\xBB\xBF";
            ++line_;
            readLine(line->substr(marked ? 3 : 0));  // without the byte order mark
        }
        if (table_.rows == 0) knotfit::refuse(name_ + ": holds no points");
        return std::move(table_);
    }

  private:
    void readLine(std::string_view line)
    {
        const std::string_view content = trimmed(line);
        if (content.empty() || content.front() == '#') return;
        int count = 0;
        std::size_t at = 0;
        while (true) {
            const std::size_t comma = line.find(',', at);
            const std::string_view cell = trimmed(line.substr(at, comma - at));
            if (table_.rows > 0 && count == table_.cols) refuseCount(at, "more");
            const std::optional<double> number = parseNumber(cell);
            if (!number)
                refuse(at, cell.empty() ? "a number is missing"
                                        : quoted(cell) + " is no finite number");
            table_.numbers.push_back(*number);
            ++count;
            if (comma == std::string_view::npos) break;
            at = comma + 1;
        }
        if (table_.rows == 0) {
            table_.cols = count;
            firstLine_ = line_;
        }
        if (count < table_.cols) refuseCount(line.size(), "fewer");
        if (table_.rows == std::numeric_limits<int>::max()) refuse(0, "there are too many lines");
        ++table_.rows;
    }

    [[noreturn]] void refuse(std::size_t at, const std::string& fault) const
    {
        knotfit::refuse(name_ + ":" + std::to_string(line_) + ":" + std::to_string(at + 1) + ": " +
                        fault);
    }

    [[noreturn]] void refuseCount(std::size_t at, const std::string& which) const
    {
        refuse(at, which + " numbers than the " + std::to_string(table_.cols) + " of line " +
                       std::to_string(firstLine_));
    }

    std::string name_;
    LineSource source_;
    CsvTable table_;
    int line_ = 0;
    int firstLine_ = 0;
};

}  // namespace

std::optional<double> parseNumber(std::string_view text)
{
    if (!text.empty() && text.front() == '+') {
        text.remove_prefix(1);
        if (!text.empty() && text.front() == '-') return std::nullopt;
    }
    double number = 0.0;
    const char* end = text.data() + text.size();
    const std::from_chars_result result = std::from_chars(text.data(), end, number);
    if (result.ec == std::errc::invalid_argument || result.ptr != end) return std::nullopt;
    // Out of range says neither too large nor too small: the latter is 0, or what is next to it.
    if (result.ec != std::errc()) number = std::strtod(std::string(text).c_str(), nullptr);
    if (!std::isfinite(number)) return std::nullopt;
    return number;
}

CsvTable readCsv(const std::string& path)
{
    return CsvReader(path).read();
}

}  // namespace knotfit
