// SPDX-License-Identifier: MIT
#pragma once

#include <typeinfo>

#include "knotwork/solvers/TsolveSystems.h"

/// A system A x = b whose last rows are constraints, to be met exactly, while the rows above are
/// fitted in the least-squares sense. Factoring and solving belong to the concrete classes.
/// Shapes    A: one row per equation, one column per unknown, any shape. With fewer rows than
///           unknowns every row is a constraint, and the solution is the shortest.
/// Status    setMatrix returns 0, or -1 when the system is dependent: then isSolvable() is false
///           and every solve returns 5.
/// Memory    besides the caller's A: the working matrix, what the concrete class factors, and with
///           keepMatrixCopy the untouched matrix; an earlier system is let go first. Sparse systems
///           may take much less.
class KNOTWORK_EXPORT TsolveConstrainedLsq : public TsolveSystems {
  public:
    TsolveConstrainedLsq(TsolverReporter& reporter, bool keepMatrixCopy);
    explicit TsolveConstrainedLsq(bool keepMatrixCopy);
    TsolveConstrainedLsq(const TsolveConstrainedLsq& other);
    ~TsolveConstrainedLsq() override;

    bool isSolvable() const override;
    virtual DoubleGenMat altMatrix();  ///< the working matrix stacked on 0.2 times the identity

  protected:
    virtual bool factor() = 0;        ///< sets dependent_; true when the system can be solved
    virtual void releaseFactors() {}  ///< lets go of an earlier factorisation's storage

  public:
    /// Sets the system and factors it.
    /// fixedCols       ascending: unknowns whose values come with each solve; needs cleanZeros
    /// numConstraints  rows at the end of A that are constraints, clamped to what there is
    /// normalise       scales every row to length 1, which changes the fit
    /// cleanZeros      see TsolveSystems::preSetMatrix
    /// computeCutoff   raises tolerance() to a gap in the singular values of A, for good; with
    ///                 cleanZeros the solved system then loses its entries up to 0.001
    int setMatrix(const DoubleGenMat& A, const IntVec& fixedCols, int numConstraints,
                  bool normalise, bool cleanZeros, bool computeCutoff);
    int setMatrix(const DoubleGenMat& A, int numConstraints, bool normalise, bool cleanZeros,
                  bool computeCutoff);

    bool isDependent() const { return dependent_; }
    TsolveConstrainedLsq& reference(TsolveConstrainedLsq& other);
    void deepenShallowCopy();

  protected:
    /// A cut-off in the first marked gap of A's singular values below 1; 0.0 when there is none.
    static double trySVD(const DoubleGenMat& A);
    static double cutoffFrom(const DoubleVec& singularValues);
    int realSetMatrix(const DoubleGenMat& A, const IntVec& fixedCols, int numConstraints,
                      bool normalise, bool cleanZeros, bool computeCutoff);

    int numConstraints_;  // of the working matrix
    bool dependent_;

    /// For a class whose factor() and other overrides look for sparse rows in system_ as well:
    /// working_ is empty then. Without this call an object of a derived class gets the dense
    /// working_, whatever its base class takes.
    void takeSpans() { takesSpans_ = true; }
    void takeNoSpans();
    /// For the constructor of a class whose own objects, not those derived from it, take spans.
    void takeSpansAs(const std::type_info& ownClass) { spansClass_ = &ownClass; }

  private:
    void copyMatrix(const DoubleGenMat& A, bool cleanZeros, bool computeCutoff);
    bool mayTakeSpans() const;

    bool takesSpans_ = false;
    const std::type_info* spansClass_ = nullptr;
};
