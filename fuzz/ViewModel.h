// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <type_traits>
#include <vector>

#include "fuzz/Fuzz.h"

namespace knotwork_fuzz {

constexpr int kMostElements = 24;

/// What a view is: places in a block that others may share.
template <class T>
struct Model {
    std::shared_ptr<std::vector<T>> block;
    std::vector<std::size_t> places;

    int length() const { return static_cast<int>(places.size()); }
    T& at(int i) { return (*block)[places[static_cast<std::size_t>(i)]]; }
    T at(int i) const { return (*block)[places[static_cast<std::size_t>(i)]]; }

    static Model of(const std::vector<T>& values)
    {
        Model fresh{std::make_shared<std::vector<T>>(values), {}};
        for (std::size_t i = 0; i < values.size(); ++i) fresh.places.push_back(i);
        return fresh;
    }
    std::vector<T> values() const
    {
        std::vector<T> all;
        for (const std::size_t place : places) all.push_back((*block)[place]);
        return all;
    }
    Model slice(int start, int n, int stride) const
    {
        Model part{block, {}};
        for (int k = 0; k < n; ++k)
            part.places.push_back(places[static_cast<std::size_t>(start + k * stride)]);
        return part;
    }
    void write(const std::vector<T>& from)  // from shares nothing: overlap is settled by now
    {
        for (int i = 0; i < length(); ++i) at(i) = from[static_cast<std::size_t>(i)];
    }
};

/// Sums that wrap where those of T would overflow.
template <class T>
T plus(T a, T b)
{
    if constexpr (std::is_floating_point_v<T>)
        return a + b;
    else
        return static_cast<T>(static_cast<unsigned>(a) + static_cast<unsigned>(b));
}

template <class T>
T times(T a, T b)
{
    if constexpr (std::is_floating_point_v<T>)
        return a * b;
    else
        return static_cast<T>(static_cast<unsigned>(a) * static_cast<unsigned>(b));
}

template <class T>
bool agree(T a, T b)
{
    if constexpr (std::is_floating_point_v<T>)
        return same(a, b);
    else
        return a == b;
}

}  // namespace knotwork_fuzz
