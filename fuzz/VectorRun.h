// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <functional>

#include "fuzz/ViewModel.h"
#include "knotwork/linalg/IntVec.h"

namespace knotwork_fuzz {

/// A handful of vectors and their models; each step does something to one or two of them.
template <class Vec>
class VectorRun {
  public:
    using T = typename Vec::Element;
    using Values = std::vector<T>;

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
        const auto filled = [&](int length) {
            return Model<T>::of(Values(std::size_t(length), x));
        };
        const std::function<void()> steps[] = {
            [&] { become(a, Vec(static_cast<unsigned>(n), x), filled(n)); },
            [&] { become(a, b.real, b.model); },
            [&] { slice(bytes, a, b); },
            [&] {
                const int last = b.model.length() - 1;
                if (last >= 0) become(a, reverse(b.real), b.model.slice(last, last + 1, -1));
            },
            [&] {
                if (raisesUnless(a.model.length() == b.model.length(), 0x300F,
                                 [&] { a.real = b.real; }))
                    a.model.write(b.model.values());
            },
            [&] {
                a.real = x;
                a.model.write(Values(a.model.places.size(), x));
            },
            [&] { resize(a, n); },
            [&] {
                a.real.reshape(static_cast<unsigned>(n));
                if (n != a.model.length()) a.model = filled(n);
                a.real = x;
                a.model.write(Values(a.model.places.size(), x));
            },
            [&] { become(a, b.real.copy(), Model<T>::of(b.model.values())); },
            [&] {
                a.real.deepenShallowCopy();
                a.model = Model<T>::of(a.model.values());
                require(a.real.stride() == 1, "a private copy is contiguous");
            },
            [&] {
                const int i = bytes.between(-3, kMostElements);
                if (raisesUnless(i >= 0 && i < a.model.length(), 0x3005, [&] { a.real[i] = x; }))
                    a.model.at(i) = x;
            },
            [&] { add(a, b); },
            [&] {
                if (!apart(a, a)) return;
                a.real += x;
                for (const std::size_t place : a.model.places)
                    (*a.model.block)[place] = plus((*a.model.block)[place], x);
            },
            [&] { scatter(bytes, a, b, x); },
            [&] { gather(bytes, a, b); },
            [&] { accumulate(a, b); },
            [&] { require(searches(a), "searches find what a loop finds"); },
        };
        steps[bytes.below(17)]();
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
        const auto check = [&] { b.real.sliceCheck(start, static_cast<unsigned>(n), stride); };
        if (raisesUnless(fits, 0x300C, check) && n > 0)
            become(a, b.real.slice(start, static_cast<unsigned>(n), stride),
                   b.model.slice(start, n, stride));
    }

    /// Shares; takes values, since `a` may be where they come from.
    static void become(Slot& a, const Vec real, const Model<T> model)
    {
        a.real.reference(real);
        a.model = model;
    }

    static void resize(Slot& a, int n)
    {
        a.real.resize(static_cast<unsigned>(n));
        if (n == a.model.length()) return;
        Values kept = a.model.values();
        kept.resize(static_cast<std::size_t>(n));
        a.model = Model<T>::of(kept);
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
        if (!raisesUnless(a.model.length() == b.model.length(), 0x300F, [&] { a.real += b.real; }))
            return;
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
        if (!raisesUnless(n == b.model.length(), 0x300F, [&] { pick = b.real; })) return;
        for (int k = 0; k < n; ++k) a.model.at(index(k)) = b.model.at(k);
    }

    static void gather(Bytes& bytes, Slot& a, const Slot& b)
    {
        const IntVec index = indices(bytes, b);
        const Vec gathered(b.real.vecPick(index));
        Values values;
        for (int k = 0; k < static_cast<int>(index.length()); ++k)
            values.push_back(b.model.at(index(k)));
        become(a, gathered, Model<T>::of(values));
    }

    static void accumulate(Slot& a, const Slot& b)
    {
        const Vec running = cumsum(b.real);
        const T total = sum(b.real);
        Values values = b.model.values();
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
        a.model = Model<T>::of(running.length() == 0
                                   ? Values()
                                   : Values(running.data(), running.data() + running.length()));
        a.real.reference(running);
    }

    static bool searches(const Slot& a)
    {
        const Values values = a.model.values();
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
