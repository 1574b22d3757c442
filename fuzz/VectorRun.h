// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>

#include "fuzz/ViewModel.h"
#include "knotwork/linalg/IntVec.h"

namespace knotwork_fuzz {

/// A handful of vectors and their models; each step does something to one or two of them.
template <class Vec>
class VectorRun {
  public:
    using T = typename Vec::Element;

    VectorRun()
    {
        for (int i = 0; i < kSlots; ++i) slots_.push_back({Vec(3, T{1}), Model<T>::of({1, 1, 1})});
    }

    void step(Bytes& bytes)
    {
        Slot& a = any(bytes);
        Slot& b = any(bytes);
        const int n = bytes.below(kMostElements);
        const T x = number(bytes);
        switch (bytes.below(17)) {
            case 0:
                a.real.reference(Vec(static_cast<unsigned>(n), x));
                a.model = Model<T>::of(std::vector<T>(static_cast<std::size_t>(n), x));
                break;
            case 1:
                a.real.reference(b.real);
                a.model = b.model;
                break;
            case 2:
                slice(bytes, a, b);
                break;
            case 3:
                if (b.model.length() == 0) break;
                a.real.reference(reverse(b.real));
                a.model = b.model.slice(b.model.length() - 1, b.model.length(), -1);
                break;
            case 4:
                assign(a, b);
                break;
            case 5:
                a.real = x;
                a.model.write(std::vector<T>(a.model.places.size(), x));
                break;
            case 6:
                resize(a, n);
                break;
            case 7:
                a.real.reshape(static_cast<unsigned>(n));
                if (n != a.model.length())
                    a.model = Model<T>::of(std::vector<T>(static_cast<std::size_t>(n)));
                a.real = x;
                a.model.write(std::vector<T>(a.model.places.size(), x));
                break;
            case 8: {
                const Vec copied = b.real.copy();
                a.real.reference(copied);
                a.model = Model<T>::of(b.model.values());
                break;
            }
            case 9:
                a.real.deepenShallowCopy();
                a.model = Model<T>::of(a.model.values());
                require(a.real.stride() == 1, "a private copy is contiguous");
                break;
            case 10:
                writeChecked(a, bytes.between(-3, kMostElements), x);
                break;
            case 11:
                add(a, b);
                break;
            case 12: {
                if (!apart(a, a)) break;
                a.real += x;
                std::vector<T> sums = a.model.values();
                for (T& e : sums) e = plus(e, x);
                a.model.write(sums);
                break;
            }
            case 13:
                scatter(bytes, a, b, x);
                break;
            case 14:
                gather(bytes, a, b);
                break;
            case 15:
                accumulate(a, b);
                break;
            default:
                require(searches(a), "searches find what a loop finds");
        }
        for (const Slot& slot : slots_) compare(slot);
    }

  private:
    static constexpr int kSlots = 5;
    struct Slot {
        Vec real;
        Model<T> model;
    };

    static T number(Bytes& bytes)
    {
        if constexpr (std::is_floating_point_v<T>)
            return bytes.anyDouble();
        else
            return static_cast<T>(bytes.flag() ? bytes.between(-9, 9)
                                               : std::numeric_limits<T>::max() - bytes.below(9));
    }
    Slot& any(Bytes& bytes) { return slots_[static_cast<std::size_t>(bytes.below(kSlots))]; }

    static void compare(const Slot& slot)
    {
        require(static_cast<int>(slot.real.length()) == slot.model.length(), "lengths agree");
        for (int i = 0; i < slot.model.length(); ++i)
            require(agree(slot.real(i), slot.model.at(i)), "elements agree");
    }

    static void slice(Bytes& bytes, Slot& a, const Slot& b)
    {
        const int start = bytes.between(-1, kMostElements);
        const int n = bytes.below(kMostElements);
        const int stride = bytes.between(-3, 3);
        const int length = b.model.length();
        const int last = start + (n - 1) * stride;
        const bool fits = n == 0 || (start >= 0 && start < length && last >= 0 && last < length);
        const unsigned code =
            codeRaisedBy([&] { b.real.sliceCheck(start, static_cast<unsigned>(n), stride); });
        require(code == (fits ? 0u : 0x300Cu), "slices that do not fit are found");
        if (!fits || n == 0) return;
        a.real.reference(b.real.slice(start, static_cast<unsigned>(n), stride));
        a.model = Model<T>(b.model).slice(start, n, stride);
    }

    static void assign(Slot& a, const Slot& b)
    {
        const unsigned code = codeRaisedBy([&] { a.real = b.real; });
        const bool fits = a.model.length() == b.model.length();
        require(code == (fits ? 0u : 0x300Fu), "another length is an error");
        if (fits) a.model.write(b.model.values());
    }

    static void resize(Slot& a, int n)
    {
        a.real.resize(static_cast<unsigned>(n));
        if (n == a.model.length()) return;
        std::vector<T> kept = a.model.values();
        kept.resize(static_cast<std::size_t>(n));
        a.model = Model<T>::of(kept);
    }

    static void writeChecked(Slot& a, int i, T x)
    {
        const unsigned code = codeRaisedBy([&] { a.real[i] = x; });
        const bool holds = i >= 0 && i < a.model.length();
        require(code == (holds ? 0u : 0x3005u), "an index outside is an error");
        if (holds) a.model.at(i) = x;
    }

    /// A view with distinct places, none of which b reaches by another index: whoever adds a view
    /// to one that overlaps it reads what was just written, in an order nobody promises.
    static bool apart(const Slot& a, const Slot& b)
    {
        if (a.model.block == b.model.block && a.model.places != b.model.places) return false;
        std::vector<std::size_t> places = a.model.places;
        std::sort(places.begin(), places.end());
        return std::adjacent_find(places.begin(), places.end()) == places.end();
    }

    static void add(Slot& a, const Slot& b)
    {
        if (!apart(a, b)) return;
        const unsigned code = codeRaisedBy([&] { a.real += b.real; });
        const bool fits = a.model.length() == b.model.length();
        require(code == (fits ? 0u : 0x300Fu), "another length is an error");
        if (!fits) return;
        for (int i = 0; i < a.model.length(); ++i)
            a.model.at(i) = plus(a.model.at(i), b.model.at(i));
    }

    static IntVec indices(Bytes& bytes, const Slot& of)
    {
        IntVec index(static_cast<unsigned>(of.model.length() == 0 ? 0 : bytes.below(8)));
        for (int k = 0; k < static_cast<int>(index.length()); ++k)
            index(k) = bytes.below(of.model.length());
        return index;
    }

    static void scatter(Bytes& bytes, Slot& a, const Slot& b, T x)
    {
        const IntVec index = indices(bytes, a);
        const int n = static_cast<int>(index.length());
        auto pick = a.real.vecPick(index);
        if (a.model.block == b.model.block) {
            pick = x;
            for (int k = 0; k < n; ++k) a.model.at(index(k)) = x;
            return;
        }
        const unsigned code = codeRaisedBy([&] { pick = b.real; });
        require(code == (n == b.model.length() ? 0u : 0x300Fu), "another length is an error");
        if (code != 0) return;
        for (int k = 0; k < n; ++k) a.model.at(index(k)) = b.model.at(k);
    }

    static void gather(Bytes& bytes, Slot& a, const Slot& b)
    {
        const IntVec index = indices(bytes, b);
        const Vec gathered(b.real.vecPick(index));
        std::vector<T> values;
        for (int k = 0; k < static_cast<int>(index.length()); ++k)
            values.push_back(b.model.at(index(k)));
        a.real.reference(gathered);
        a.model = Model<T>::of(values);
    }

    static void accumulate(Slot& a, const Slot& b)
    {
        const Vec running = cumsum(b.real);
        const T total = sum(b.real);
        std::vector<T> values = b.model.values();
        T soFar{0};
        for (T& e : values) {
            soFar = plus(soFar, e);
            // The first running sum is the element itself, its sign of zero included.
            e = &e == values.data() ? e : soFar;
        }
        if constexpr (std::is_floating_point_v<T>)
            require(std::isnan(soFar) ? std::isnan(total) : soFar == total, "sums agree");
        else
            require(soFar == total, "sums agree");
        for (std::size_t i = 0; i < values.size(); ++i)
            require(agree(values[i], running(static_cast<int>(i))) ||
                        values[i] == running(static_cast<int>(i)),
                    "running sums agree");
        a.model =
            Model<T>::of(running.length() == 0
                             ? std::vector<T>()
                             : std::vector<T>(running.data(), running.data() + running.length()));
        a.real.reference(running);
    }

    static bool searches(const Slot& a)
    {
        const std::vector<T> values = a.model.values();
        for (const T e : values)
            if (e != e) return true;  // how NaN orders is nobody's promise here
        if (values.empty()) return maxIndex(a.real) == -1 && minIndex(a.real) == -1;
        const auto first = values.begin();
        return maxIndex(a.real) == std::max_element(first, values.end()) - first &&
               minIndex(a.real) == std::min_element(first, values.end()) - first;
    }

    std::vector<Slot> slots_;
};

}  // namespace knotwork_fuzz
