// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "knotwork/platform/export.h"

/// A text. Null pointers count as empty texts.
class KNOTWORK_PLATFORM_EXPORT Tstring {
  public:
    Tstring();
    Tstring(const char* text);
    Tstring(const Tstring& other);
    Tstring& operator=(const Tstring& other);
    ~Tstring();

    void copyChar(const char* text);      ///< becomes the text
    void catenate(const char* text);      ///< appends it
    void catenate(const Tstring& other);  ///< appends it
    void setDouble(double value);         ///< becomes the number, written as printf's "%g" does
    const char* asC() const;              ///< valid until the next change

  private:
    std::string text_;
};
