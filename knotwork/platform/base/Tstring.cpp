// SPDX-License-Identifier: MIT
#include "knotwork/platform/base/Tstring.h"

#include <cstdio>

namespace {

const char* orEmpty(const char* text)
{
    return text != nullptr ? text : "";
}

}  // namespace

Tstring::Tstring() = default;
Tstring::Tstring(const char* text) : text_(orEmpty(text)) {}
Tstring::Tstring(const Tstring& other) = default;
Tstring& Tstring::operator=(const Tstring& other) = default;
Tstring::~Tstring() = default;

void Tstring::copyChar(const char* text)
{
    text_ = orEmpty(text);
}

void Tstring::catenate(const char* text)
{
    text_ += orEmpty(text);
}

void Tstring::catenate(const Tstring& other)
{
    text_ += other.text_;
}

void Tstring::setDouble(double value)
{
    char digits[32];
    std::snprintf(digits, sizeof digits, "%g", value);
    text_ = digits;
}

const char* Tstring::asC() const
{
    return text_.c_str();
}
