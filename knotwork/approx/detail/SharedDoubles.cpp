// SPDX-License-Identifier: MIT
#include "knotwork/approx/detail/SharedDoubles.h"

#include <algorithm>
#include <atomic>
#include <new>

namespace knotwork {

namespace {

struct alignas(16) Header {
    std::atomic<int> holders;
};

Header* headerOf(double* array)
{
    return reinterpret_cast<Header*>(reinterpret_cast<char*>(array) - sizeof(Header));
}

}  // namespace

double* makeDoubles(std::size_t n)
{
    char* block = static_cast<char*>(::operator new(sizeof(Header) + n * sizeof(double)));
    new (block) Header{{1}};
    double* array = reinterpret_cast<double*>(block + sizeof(Header));
    std::fill_n(array, n, 0.0);
    return array;
}

double* shareDoubles(double* array)
{
    if (array != nullptr) ++headerOf(array)->holders;
    return array;
}

void releaseDoubles(double* array)
{
    if (array == nullptr || --headerOf(array)->holders > 0) return;
    ::operator delete(headerOf(array));
}

}  // namespace knotwork
