// Random programs over arrays: the same steps on real arrays and on the model, compared after each step.
//
// A step is four numbers, so that any sequence of steps is a program and every part of one is too: the first picks the operation
// from a table, the others pick operands and arguments out of what there is, by remainder.
#pragma once

#include "model/array_model.hpp"
#include "support/alloc_sources.hpp"

#include <iosfwd>
#include <span>
#include <string>
#include <vector>

namespace model {

struct step {
    unsigned operation = 0;
    unsigned a = 0;
    unsigned b = 0;
    unsigned c = 0;
};
std::ostream& operator<<(std::ostream& out, const step& s);

/// A reference that a program holds: to a real header, and to its model.
struct handle {
    ndArray_tag* real;
    std::shared_ptr<array> expected;
};

class world {
public:
    world();
    ~world();
    world(const world&) = delete;
    world& operator=(const world&) = delete;

    /// Does the step on both sides, then compares everything. Empty, or what went wrong.
    std::string run(const step& s);

    /// Destroys what is left. Empty, or what wasn't given back.
    std::string finish();

    // For operations.
    std::vector<handle>& handles() { return handles_; }
    void add(ndArray_tag* real, array expected);
    void release(std::size_t i);
    void count_reuse() { ++reuses_; }
    void count_conversion() { ++conversions_; }

    /// How often a creator took over a candidate's data: programs that never do prove nothing about it.
    long reuses() const { return reuses_; }
    /// How often an array was made of one of another class.
    long conversions() const { return conversions_; }

private:
    std::string check() const;

    std::vector<handle> handles_;
    long reuses_ = 0;
    long conversions_ = 0;
    test::live_blocks before_;
};

/// One row of the table of operations. It may do nothing where it doesn't apply.
struct operation {
    const char* name;
    void (*run)(world& w, const step& s);
};
std::span<const operation> all_operations();

} // namespace model
