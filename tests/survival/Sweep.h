// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <vector>

/// The sweep over failing allocations: an operation is run again and again, and in its k-th run the
/// k-th allocation fails, for every k, under each kind of error handler.
namespace survival {

/// What may come out of an operation without memory, besides what its handler does.
enum class Answer {
    kCatalogue,  ///< 0x3008, never std::bad_alloc
    kException,  ///< std::bad_alloc, as of curves and surfaces
};

/// One run of a subject.
class Trial {
  public:
    /// Runs what is swept; whatever else a subject does finds its memory.
    void attempt(const std::function<void()>& operation, Answer answer = Answer::kCatalogue);
    /// What must hold afterwards: that nothing claims to be what it is not.
    void expect(bool honest)
    {
        if (!honest) honest_ = false;
    }
    bool honest() const { return honest_; }

  private:
    bool honest_ = true;
};

struct Subject {
    const char* name;
    void (*run)(Trial& trial);
};

const std::vector<Subject>& arraySubjects();
const std::vector<Subject>& factorSubjects();
const std::vector<Subject>& solverSubjects();
const std::vector<Subject>& shapeSubjects();
const std::vector<Subject>& fitSubjects();

}  // namespace survival
