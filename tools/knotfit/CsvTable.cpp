// SPDX-License-Identifier: MIT
#include "tools/knotfit/CsvTable.h"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <memory>

#include "tools/knotfit/Failure.h"

namespace knotfit {

namespace {

constexpr std::size_t kMostBytes = std::size_t{1} << 31;  // of a file; a row takes two at least

std::string readAll(const std::string& path)
{
    const bool standardInput = path == "-";
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(
        standardInput ? stdin : std::fopen(path.c_str(), "rb"),
        standardInput ? [](std::FILE*) { return 0; } : std::fclose);
    if (file == nullptr) throw Failure(kBadUsage, path + ": cannot be opened");
    std::string text;
    char buffer[1 << 16];
    while (const std::size_t got = std::fread(buffer, 1, sizeof buffer, file.get())) {
        text.append(buffer, got);
        if (text.size() > kMostBytes) throw Failure(kBadUsage, path + ": is larger than 2 GiB");
    }
    if (std::ferror(file.get()) != 0) throw Failure(kBadUsage, path + ": cannot be read");
    return text;
}

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
        : name_(path == "-" ? "standard input" : path), text_(readAll(path))
    {
    }

    CsvTable read()
    {
        std::string_view rest(text_);
        if (rest.substr(0, 3) == "\xEF\xBB\xBF") rest.remove_prefix(3);  // a byte order mark
        while (!rest.empty()) {
            const std::size_t end = rest.find('\n');
            ++line_;
            readLine(rest.substr(0, end));
            rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
        }
        if (table_.rows == 0) throw Failure(kBadUsage, name_ + ": holds no points");
        return table_;
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
        throw Failure(kBadUsage, name_ + ":" + std::to_string(line_) + ":" +
                                     std::to_string(at + 1) + ": " + fault);
    }

    [[noreturn]] void refuseCount(std::size_t at, const std::string& which) const
    {
        refuse(at, which + " numbers than the " + std::to_string(table_.cols) + " of line " +
                       std::to_string(firstLine_));
    }

    std::string name_;
    std::string text_;
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
