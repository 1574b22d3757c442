// SPDX-License-Identifier: MIT
#include <cmath>
#include <cstdint>
#include <cstring>
#include <utility>

#include "knotwork/fit/CurveState.h"

namespace knotwork {

namespace {

// "KNOTSUMS", then the version of what follows.
constexpr std::uint64_t kMagic = 0x534D5553544F4E4BU;
constexpr std::uint64_t kVersion = 1;        // of those of an open curve
constexpr std::uint64_t kClosedVersion = 2;  // the same with periodic knots
constexpr std::uint64_t kCounted = 2;        // is added where not all samples have a weight
constexpr std::uint64_t kMostDimension = 1U << 20;

/// FNV-1a, by Fowler, Noll and Vo.
std::uint64_t checksum(const unsigned char* bytes, std::size_t count)
{
    std::uint64_t sum = 0xCBF29CE484222325U;
    for (std::size_t i = 0; i < count; ++i) sum = (sum ^ bytes[i]) * 0x100000001B3U;
    return sum;
}

/// Words of 64 bits, the lowest byte first.
class Writer {
  public:
    void word(std::uint64_t w)
    {
        for (int i = 0; i < 8; ++i) bytes_.push_back(static_cast<unsigned char>(w >> 8 * i));
    }
    void integer(long long n) { word(static_cast<std::uint64_t>(n)); }
    void number(double x)
    {
        std::uint64_t w = 0;
        std::memcpy(&w, &x, sizeof w);
        word(w);
    }
    void numbers(const std::vector<double>& all)
    {
        for (const double x : all) number(x);
    }
    std::vector<unsigned char> finished()
    {
        word(checksum(bytes_.data(), bytes_.size()));
        return std::move(bytes_);
    }

  private:
    std::vector<unsigned char> bytes_;
};

/// The periodic basis of the same knots; not valid where they do not repeat.
BsplineBasis periodicOver(const BsplineBasis& open)
{
    const std::ptrdiff_t p = open.degree();
    const std::vector<double>& knots = open.knots();
    if (static_cast<std::ptrdiff_t>(knots.size()) < 2 * p + 2) return BsplineBasis();
    const BsplineBasis periodic = BsplineBasis::periodic(
        open.degree(), std::vector<double>(knots.begin() + p, knots.end() - p));
    return periodic.knots() == knots ? periodic : BsplineBasis();
}

class Reader {
  public:
    explicit Reader(const std::vector<unsigned char>& bytes) : bytes_(bytes) {}

    std::size_t wordsLeft() const { return (bytes_.size() - at_) / 8; }
    std::uint64_t word()
    {
        std::uint64_t w = 0;
        for (int i = 0; i < 8; ++i) w |= std::uint64_t{bytes_[at_++]} << 8 * i;
        return w;
    }
    long long integer() { return static_cast<long long>(word()); }
    int exponent() { return static_cast<int>(integer()); }
    double number()
    {
        const std::uint64_t w = word();
        double x = 0.0;
        std::memcpy(&x, &w, sizeof x);
        finite_ &= std::isfinite(x);
        return x;
    }
    void numbers(std::vector<double>& all)
    {
        for (double& x : all) x = number();
    }
    bool finite() const { return finite_; }

  private:
    const std::vector<unsigned char>& bytes_;
    std::size_t at_ = 0;
    bool finite_ = true;
};

}  // namespace

std::vector<unsigned char> CurveState::bytes() const
{
    Writer to;
    to.word(kMagic);
    to.word((basis_.closed() ? kClosedVersion : kVersion) + (counted_ < rows_ ? kCounted : 0));
    to.integer(basis_.degree());
    to.integer(dimension());
    to.integer(static_cast<long long>(basis_.knots().size()));
    to.numbers(basis_.knots());
    to.integer(rows_);
    if (counted_ < rows_) to.integer(counted_);
    to.number(weights_.high);
    to.number(weights_.low);
    to.integer(weighted_ ? 1 : 0);
    to.integer(scales_.weightRoot);
    for (const int exponent : scales_.coordinates) to.integer(exponent);
    to.numbers(largest_);
    to.numbers(triangles_.allSquares());
    to.numbers(triangles_.numbers());
    return to.finished();
}

std::string readState(const std::vector<unsigned char>& bytes, std::unique_ptr<CurveState>& state)
{
    constexpr std::size_t kHead = 6;  // words that every file has
    constexpr const char* kCut = "the bytes are cut short or altered";
    constexpr int kMostExponent = 2200;
    Reader from(bytes);
    if (bytes.size() % 8 != 0 || from.wordsLeft() < kHead) return kCut;
    if (from.word() != kMagic) return "the bytes are not those of an accumulator";
    std::uint64_t version = from.word();
    const bool counted = version > kCounted;
    if (counted) version -= kCounted;
    if (version != kVersion && version != kClosedVersion) return "the bytes are of another version";
    Reader last(bytes);
    for (std::size_t i = 0; i + 8 < bytes.size(); i += 8) last.word();
    if (last.word() != checksum(bytes.data(), bytes.size() - 8)) return kCut;

    const long long degree = from.integer();
    const long long dimension = from.integer();
    const auto knotCount = static_cast<std::uint64_t>(from.integer());
    const bool plausible = degree >= 1 && degree <= BsplineBasis::kMostDegree && dimension >= 1 &&
                           dimension <= static_cast<long long>(kMostDimension) &&
                           knotCount < from.wordsLeft();
    if (!plausible) return kCut;
    std::vector<double> knots(static_cast<std::size_t>(knotCount));
    from.numbers(knots);
    BsplineBasis basis(static_cast<int>(degree), std::move(knots));
    if (version == kClosedVersion) basis = periodicOver(basis);
    if (!from.finite() || !basis.valid()) return "degree and knots do not make a basis";

    const auto d = static_cast<std::size_t>(dimension);
    const auto p = static_cast<std::size_t>(degree);
    const std::size_t perSpan = (p + 1) * (p + 2) / 2 + (p + 1) * d;
    const std::size_t spans = static_cast<std::size_t>(basis.count()) - p;
    if (from.wordsLeft() != (counted ? 6 : 5) + 3 * d + spans * perSpan + 1) return kCut;
    auto found = std::make_unique<CurveState>(basis, static_cast<int>(dimension));
    found->rows_ = from.integer();
    found->counted_ = counted ? from.integer() : found->rows_;
    found->weights_.high = from.number();
    found->weights_.low = from.number();
    found->weighted_ = from.integer() != 0;
    found->scales_.weightRoot = from.exponent();
    bool sound = std::abs(found->scales_.weightRoot) < kMostExponent && found->counted_ >= 0 &&
                 found->counted_ <= found->rows_;
    for (int& exponent : found->scales_.coordinates) {
        exponent = from.exponent();
        sound = sound && std::abs(exponent) < kMostExponent;
    }
    from.numbers(found->largest_);
    from.numbers(found->triangles_.allSquares());
    from.numbers(found->triangles_.numbers());
    if (!sound || !from.finite()) return kCut;
    state = std::move(found);
    return "";
}

}  // namespace knotwork
