// SPDX-License-Identifier: MIT
#pragma once

#include <string>

class Tstring {
  public:
    Tstring(const char* text = "") : text_(text) {}
    void copyChar(const char* text) { text_ = text; }
    void catenate(const char* text) { text_ += text; }
    void setDouble(double value) { text_ = std::to_string(value); }
    const char* asC() const { return text_.c_str(); }

  private:
    std::string text_;
};

class Tmetaclass {
  public:
    Tmetaclass(const char* name, Tmetaclass* parent, void* (*factory)())
        : name_(name), parent_(parent), factory_(factory)
    {
    }
    void* construct() const { return factory_(); }
    bool istype(const Tmetaclass* m) const
    {
        return m == this || (parent_ != nullptr && parent_->istype(m));
    }
    const char* hostName() const { return name_; }

  private:
    const char* name_;
    Tmetaclass* parent_;
    void* (*factory_)();
};

class Texception {
  public:
    virtual Tmetaclass* typeof() const;
    virtual void* cast(Tmetaclass* m);
    virtual ~Texception();
    virtual Texception* cache() const;
    static Tmetaclass* sTypeof();

    int madeByHost = 17;  // what the stand-in has not
};

class TmemoryException : public Texception {};

class T4dDblMatrix {
  public:
    double entries[4][4] = {};
};

class T4dDblPoint {
  public:
    T4dDblPoint(double px = 0.0, double py = 0.0, double pz = 0.0, double pw = 1.0)
        : x(px), y(py), z(pz), w(pw)
    {
    }
    T4dDblPoint& postmultBy(const T4dDblMatrix& m);

    double x, y, z, w;
};

class TxformMatrix {
  public:
    virtual ~TxformMatrix();
    virtual T4dDblMatrix matrix() const { return matrix_; }

    T4dDblMatrix matrix_;
};
