// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <initializer_list>
#include <vector>

namespace knotwork {

/// A std::vector whose sizes and indices are signed, as those of the matrices are.
template <class T>
class Array : public std::vector<T> {
  public:
    Array() = default;
    explicit Array(std::ptrdiff_t size, const T& value = T())
        : std::vector<T>(static_cast<std::size_t>(size), value)
    {
    }
    Array(std::initializer_list<T> values) : std::vector<T>(values) {}

    std::ptrdiff_t size() const { return static_cast<std::ptrdiff_t>(std::vector<T>::size()); }
    void resize(std::ptrdiff_t size) { std::vector<T>::resize(static_cast<std::size_t>(size)); }
    T& operator[](std::ptrdiff_t i) { return this->data()[i]; }
    const T& operator[](std::ptrdiff_t i) const { return this->data()[i]; }
};

}  // namespace knotwork
