// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

namespace knotfit {

/// Builds a JSON text in order, numbers with 17 significant digits, so that they read back to the
/// bit. (A general JSON library writes the shortest digits that do; hosts compare texts.)
class JsonText {
  public:
    void openObject(const char* key = nullptr);
    void closeObject();
    void member(const char* key, double value);
    void member(const char* key, int value);
    void member(const char* key, const std::string& value);
    void flag(const char* key, bool value);
    void member(const char* key, const std::vector<double>& values);
    void member(const char* key, const std::vector<std::string>& values);
    /// Points of `dimension` numbers, a list each, a line each.
    void points(const char* key, const std::vector<double>& numbers, int dimension);

    /// Rows of `perRow` points of `dimension` numbers each, a row a line.
    void rows(const char* key, const std::vector<double>& numbers, int dimension, int perRow);

    std::string text() const { return text_ + "\n"; }

    static std::string number(double value);
    static std::string list(const double* values, std::size_t count);

  private:
    void begin(const char* key);

    std::string text_;
    int depth_ = 0;
    bool first_ = true;
};

}  // namespace knotfit
