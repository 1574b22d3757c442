// SPDX-License-Identifier: MIT
// Any file: a table of finite numbers that reads back to the same bits, or a Failure that names it.
#include "fuzz/MemoryFile.h"
#include "tools/knotfit/CsvTable.h"
#include "tools/knotfit/Failure.h"

using knotwork_fuzz::require;
using knotwork_fuzz::same;

namespace {

std::string written(const knotfit::CsvTable& table)
{
    std::string text;
    for (int i = 0; i < table.rows; ++i)
        for (int j = 0; j < table.cols; ++j) {
            char digits[40];
            std::snprintf(digits, sizeof digits, "%.17g%c", table.at(i, j),
                          j + 1 < table.cols ? ',' : '\n');
            text += digits;
        }
    return text;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static knotwork_fuzz::MemoryFile file;
    file.hold(data, size);
    try {
        const knotfit::CsvTable table = knotfit::readCsv(file.path());
        require(table.rows > 0 && table.cols > 0, "a table has rows and columns");
        require(table.numbers.size() ==
                    static_cast<std::size_t>(table.rows) * static_cast<std::size_t>(table.cols),
                "a table is full");
        const std::string text = written(table);
        file.hold(text.data(), text.size());
        const knotfit::CsvTable again = knotfit::readCsv(file.path());
        require(again.rows == table.rows && again.cols == table.cols, "the shape reads back");
        for (std::size_t k = 0; k < table.numbers.size(); ++k) {
            require(std::isfinite(table.numbers[k]), "numbers are finite");
            require(same(again.numbers[k], table.numbers[k]), "numbers read back to the bit");
        }
    } catch (const knotfit::Failure& failure) {
        const std::string sentence = failure.what();
        require(failure.status() == knotfit::kBadUsage, "bad input is bad usage");
        require(sentence.compare(0, file.path().size(), file.path()) == 0,
                "the sentence starts with the file");
        for (const char c : sentence) require(c >= ' ' && c <= '~', "the sentence is clean");
    }
    return 0;
}
