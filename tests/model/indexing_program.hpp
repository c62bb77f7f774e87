// Random programs of references, assignments, growth and deletions: the same steps on real arrays and on the model, compared after
// each step, errors by their names.
//
// A program is bytes, and every 40 of them are a step: which operation, on what, with which subscripts. Any bytes are a program.
#pragma once

#include "model/indexing_arrays.hpp"
#include "model/indexing_choices.hpp"
#include "support/alloc_sources.hpp"

#include <array>
#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <vector>

namespace model {

inline constexpr std::size_t bytes_of_step = 40;
using program_bytes = std::vector<std::uint8_t>;

/// What programs came to: an operation that always fails, or never does, proves little.
struct index_counts {
    long steps = 0;
    long refused = 0;   ///< steps that raised what the model says
    long grown = 0;     ///< assignments that made the left side larger
    long in_place = 0;  ///< of them, those that had room
    long made_real = 0; ///< results of complex arrays that are real
    long sparse = 0;    ///< operations on sparse arrays
    long slots = 0;     ///< new slots of cells and structs that were made for writing
};

class index_world {
public:
    struct handle {
        matrix::array_ptr real;
        value expected;
        std::vector<matrix::array_ptr>
            others; ///< which share the block or the header; they keep what they had
        value others_value;
        bool touched = true; ///< by the step that runs: compared at its end, as all are behind the last one
    };

    /// story: what the steps do is written down.
    explicit index_world(bool story = false) : before_(count_blocks()), telling_(story) {}

    /// Does the step on both sides. Empty, or what differs.
    std::string run(std::span<const std::uint8_t> step);

    /// Compares everything once more and destroys it. Empty, or what is wrong.
    std::string finish();

    const std::string& story() const { return story_; }
    const index_counts& counts() const { return counts_; }

    /* For operations. */

    index_counts& counts() { return counts_; }
    handle& pick(choices& from);
    void add(matrix::array_ptr real, value expected);
    std::size_t size() const { return handles_.size(); }
    std::vector<handle>& handles() { return handles_; }
    template <class... Parts>
    void tell(const Parts&... parts) {
        if (telling_) ((story_ += text(parts)), ...);
    }

private:
    static test::live_blocks count_blocks();
    static std::string text(const std::string& part) { return part; }
    static std::string text(std::size_t part) { return std::to_string(part); }
    static std::string text(const value& part) { return text_of(part); }
    static std::string text(const std::vector<value>& parts);
    std::string check(const handle& h) const;

    counted_contents contents_;
    std::vector<handle> handles_;
    test::live_blocks before_;
    index_counts counts_;
    bool telling_;
    std::string story_;
};

/// One kind of step. Empty, or what differs between the results of both sides.
struct index_operation {
    const char* name;
    std::string (*run)(index_world& w, choices& from);
};
std::span<const index_operation> all_index_operations();

/// Runs a program whole. Empty, or the first difference; counts grow.
std::string run_program(std::span<const std::uint8_t> program, index_counts& counts);

/// The smallest program that fails like this one, by leaving out steps and choosing what is simpler.
program_bytes shrink(program_bytes program);

/// The steps of a program as they are carried out, up to where it fails.
std::string story_of(std::span<const std::uint8_t> program);

} // namespace model
