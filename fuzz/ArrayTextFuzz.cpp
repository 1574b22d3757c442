// SPDX-License-Identifier: MIT
// Any text into every array: a catalogued error, a stream that fails, or an array whose own text
// reads back to the same bits.
#include <locale>
#include <sstream>
#include <string>

#include "fuzz/Fuzz.h"
#include "knotwork/linalg/DoubleGenMat.h"
#include "knotwork/linalg/DoubleLowerTriMat.h"
#include "knotwork/linalg/DoubleSymMat.h"
#include "knotwork/linalg/DoubleUpperTriMat.h"
#include "knotwork/linalg/IntGenMat.h"
#include "knotwork/linalg/SCharVec.h"

using knotwork_fuzz::codeRaisedBy;
using knotwork_fuzz::require;

namespace {

template <class Vec>
std::string textOf(const Vec& v)
{
    std::ostringstream text;
    text.precision(17);
    text << "[ ";
    for (int i = 0, n = static_cast<int>(v.length()); i < n; ++i) text << +v(i) << ' ';
    text << ']';
    return text.str();
}

template <class Mat>
std::string textOfMatrix(const Mat& m)
{
    std::ostringstream text;
    text.precision(17);
    text << m;
    return text.str();
}

template <class Vec>
void readVector(const std::string& input)
{
    std::istringstream stream(input);
    Vec v(3, typename Vec::Element{7});
    const Vec sharer = v;
    require(codeRaisedBy([&] { stream >> v; }) == 0, "reading a vector raises nothing");
    require(sharer.length() == 3, "a sharer keeps its length");
    std::istringstream own(textOf(v));
    Vec again;
    own >> again;
    require(!own.fail() && again == v, "a vector's text reads back");
}

template <class Mat>
void readMatrix(const std::string& input)
{
    std::istringstream stream(input);
    Mat m;
    m.resize(2, 2);
    const std::string before = textOfMatrix(m);
    const unsigned code = codeRaisedBy([&] { stream >> m; });
    require(code == 0 || code == 0x4017 || code == 0x4009 || code == 0x400D,
            "reading a matrix raises what is catalogued for it");
    if (stream.fail() && code == 0)
        require(textOfMatrix(m) == before, "a stream that fails leaves the matrix as it was");
    const std::string text = textOfMatrix(m);
    std::istringstream own(text);
    Mat again;
    own >> again;
    require(!own.fail() && textOfMatrix(again) == text, "a matrix's text reads back");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string input(reinterpret_cast<const char*>(data), size);
    readVector<DoubleVec>(input);
    readVector<IntVec>(input);
    readVector<SCharVec>(input);
    readMatrix<DoubleGenMat>(input);
    readMatrix<IntGenMat>(input);
    readMatrix<DoubleSymMat>(input);
    readMatrix<DoubleLowerTriMat>(input);
    readMatrix<DoubleUpperTriMat>(input);
    return 0;
}
