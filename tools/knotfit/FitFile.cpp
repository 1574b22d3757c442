// SPDX-License-Identifier: MIT
#include "tools/knotfit/FitFile.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <nlohmann/json.hpp>

#include "tools/knotfit/Failure.h"

namespace knotfit {

namespace {

using knotwork::BsplineBasis;
using nlohmann::json;

class FitReader {
  public:
    explicit FitReader(const std::string& path) : path_(path)
    {
        std::ifstream file(path);
        if (!file) refuse("cannot be opened");
        fit_ = json::parse(file, nullptr, false);
        if (!fit_.is_object()) refuse("holds no fit");
    }

    FitFile read()
    {
        FitFile result;
        if (fit_.contains("knots_u"))
            result.bases = {basis("degree_u", "knots_u"), basis("degree_v", "knots_v")};
        else
            result.bases = {basis("degree", "knots", closed())};
        const json& points = member("control_points");
        if (!result.isSurface()) {
            addPoints(points, result);
        } else {
            if (!points.is_array() ||
                points.size() != static_cast<std::size_t>(result.bases[1].count()))
                refuse("\"control_points\" must hold a row for each control point in v");
            for (const json& row : points) {
                const std::size_t before = result.controlPoints.size();
                addPoints(row, result);
                if (pointsBetween(before, result) != result.bases[0].count())
                    refuse("a row of \"control_points\" has another length than u asks for");
            }
        }
        int expected = 1;
        for (const BsplineBasis& one : result.bases) expected *= one.count();
        if (pointsBetween(0, result) != expected)
            refuse("\"control_points\" must hold " + std::to_string(expected) + " points");
        if (result.bases[0].closed()) checkWrapped(result);
        return result;
    }

  private:
    [[noreturn]] void refuse(const std::string& fault) const
    {
        knotfit::refuse(path_ + ": " + fault);
    }

    const json& member(const char* key) const
    {
        const auto found = fit_.find(key);
        if (found == fit_.end()) refuse(std::string("\"") + key + "\" is missing");
        return *found;
    }

    double number(const json& value, const char* where) const
    {
        if (!value.is_number() || !std::isfinite(value.get<double>()))
            refuse(std::string("something in \"") + where + "\" is no finite number");
        return value.get<double>();
    }

    bool closed() const
    {
        const auto found = fit_.find("closed");
        if (found == fit_.end()) return false;
        if (!found->is_boolean()) refuse("\"closed\" is neither true nor false");
        return found->get<bool>();
    }

    void checkWrapped(const FitFile& fit) const
    {
        if (number(member("period"), "period") != fit.bases[0].period())
            refuse("\"period\" is not that of the knots");
        const auto differs = static_cast<std::ptrdiff_t>(fit.bases[0].unknowns()) * fit.dimension;
        if (!std::equal(fit.controlPoints.begin() + differs, fit.controlPoints.end(),
                        fit.controlPoints.begin()))
            refuse("the last \"control_points\" of a closed curve do not repeat the first");
    }

    BsplineBasis basis(const char* degreeKey, const char* knotsKey, bool periodic = false) const
    {
        const json& degree = member(degreeKey);
        if (!degree.is_number_integer() || degree.get<double>() < 1 ||
            degree.get<double>() > BsplineBasis::kMostDegree)
            refuse(std::string("\"") + degreeKey + "\" is no degree");
        const json& list = member(knotsKey);
        if (!list.is_array()) refuse(std::string("\"") + knotsKey + "\" is no list");
        std::vector<double> knots;
        for (const json& knot : list) knots.push_back(number(knot, knotsKey));
        BsplineBasis result(degree.get<int>(), knots);
        if (periodic) {
            result = BsplineBasis::periodicUniform(degree.get<int>(), 0, 1, 1).withKnots(knots);
            if (!result.valid()) refuse("\"knots\" do not repeat as those of a closed curve do");
        }
        if (!result.valid())
            refuse(std::string("\"") + degreeKey + "\" and \"" + knotsKey + "\" make no basis");
        return result;
    }

    void addPoints(const json& points, FitFile& result) const
    {
        if (!points.is_array()) refuse("\"control_points\" is no list");
        for (const json& point : points) {
            if (!point.is_array() || point.empty()) refuse("a control point is no list of numbers");
            if (result.dimension == 0) result.dimension = static_cast<int>(point.size());
            if (point.size() != static_cast<std::size_t>(result.dimension))
                refuse("the control points differ in their number of coordinates");
            for (const json& coordinate : point)
                result.controlPoints.push_back(number(coordinate, "control_points"));
        }
    }

    static int pointsBetween(std::size_t from, const FitFile& result)
    {
        if (result.dimension == 0) return 0;
        return static_cast<int>((result.controlPoints.size() - from) /
                                static_cast<std::size_t>(result.dimension));
    }

    std::string path_;
    json fit_;
};

}  // namespace

FitFile readFit(const std::string& path)
{
    return FitReader(path).read();
}

}  // namespace knotfit
