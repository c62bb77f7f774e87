// Random programs over cells and structs: the same steps on real arrays and on the model, compared whole after each step.
//
// Before a step changes a container that shares its slots or its header, it takes a copy of its own, as every caller must.
#pragma once

#include "model/container_model.hpp"
#include "model/program.hpp"

#include <nd/create.hpp>

#include <span>
#include <string>
#include <vector>

namespace model {

struct container_handle {
    matrix::array_ptr real;
    tree expected;
};

class container_world {
public:
    container_world();

    /// Does the step on both sides, then compares everything. Empty, or what went wrong.
    std::string run(const step& s);

    /// Destroys what is left. Empty, or what wasn't given back.
    std::string finish();

    // For operations.
    std::vector<container_handle>& handles() { return handles_; }
    const std::vector<container_handle>& handles() const { return handles_; }
    bool has_room(std::size_t size = 1) const;
    void add(matrix::array_ptr real, tree expected);
    void count_unsharing() { ++unsharings_; }

    /// How often an array of the program got slots of its own, or the others others: programs that never do prove nothing.
    long unsharings() const { return unsharings_; }

private:
    std::vector<container_handle> handles_;
    long unsharings_ = 0;
    test::live_blocks before_;
};

struct container_operation {
    const char* name;
    void (*run)(container_world& w, const step& s);
};
std::span<const container_operation> all_container_operations();

} // namespace model
