// Running programs on both sides, and making failing ones small.
#include "model/indexing_program.hpp"

#include "matrix/validate.hpp"

#include <nd/cache.hpp>

#include <algorithm>
#include <sstream>

namespace model {
namespace {

constexpr std::size_t most_handles = 5;
constexpr std::size_t most_elements = 1500;

} // namespace

// Pairs that the array cache keeps are blocks too.
test::live_blocks index_world::count_blocks() {
    matrix::cache::clear();
    return test::count_live_blocks();
}

std::string index_world::text(const std::vector<value>& parts) {
    std::string all = "(";
    for (const value& part : parts) all += (all.size() == 1 ? "" : ", ") + text_of(part);
    return all + ")";
}

index_world::handle& index_world::pick(choices& from) {
    handle& picked = handles_[from.below(static_cast<unsigned>(handles_.size()))];
    picked.touched = true;
    return picked;
}

void index_world::add(matrix::array_ptr real, value expected) {
    if (handles_.size() == most_handles) handles_.erase(handles_.begin());
    handles_.push_back({std::move(real), std::move(expected), {}, {}});
}

std::string index_world::check(const handle& h) const {
    std::string wrong = matrix::internal::validate(h.real.get());
    if (wrong.empty()) wrong = difference(h.expected, h.real.get());
    for (const matrix::array_ptr& other : h.others) {
        if (!wrong.empty()) break;
        wrong = difference(h.others_value, other.get());
        if (!wrong.empty()) wrong = "an array that shares its data: " + wrong;
    }
    return wrong;
}

std::string index_world::run(std::span<const std::uint8_t> step) {
    choices from(step);
    const auto operations = all_index_operations();
    const index_operation& operation = operations[from.below(static_cast<unsigned>(operations.size()))];
    if (handles_.empty()) {
        value first = any_value(from);
        tell("x0 = ", first, "\n");
        matrix::array_ptr real = real_array(first);
        add(std::move(real), std::move(first));
    }
    tell(std::string(operation.name), ": ");
    std::string wrong = operation.run(*this, from);
    tell(std::string("\n"));
    ++counts_.steps;
    for (std::size_t i = 0; i < handles_.size() && wrong.empty(); ++i) {
        if (!handles_[i].touched) continue;
        handles_[i].touched = false;
        wrong = check(handles_[i]);
        if (!wrong.empty()) wrong = "x" + std::to_string(i) + ": " + wrong;
    }
    std::erase_if(handles_, [](const handle& h) { return h.expected.elements.size() > most_elements; });
    return wrong;
}

std::string index_world::finish() {
    for (const handle& h : handles_) {
        if (std::string wrong = check(h); !wrong.empty()) return "at the end: " + wrong;
    }
    handles_.clear();
    if (contents_.count() != 0)
        return std::to_string(contents_.count()) + " records and elements were left behind";
    const test::live_blocks left = count_blocks() - before_;
    if (left.header_slots == 0 && left.aligned_heap == 0) return {};
    std::ostringstream out;
    out << "blocks were left behind: " << left;
    return out.str();
}

namespace {

std::string run_in(index_world& world, std::span<const std::uint8_t> program) {
    for (; !program.empty(); program = program.subspan(std::min(bytes_of_step, program.size()))) {
        std::string wrong = world.run(program.first(std::min(bytes_of_step, program.size())));
        if (!wrong.empty()) return wrong;
    }
    return world.finish();
}

bool fails(const program_bytes& program) {
    index_counts counts;
    return !run_program(program, counts).empty();
}

// Fewer steps, beginning with large pieces.
bool leave_out_steps(program_bytes& program) {
    bool any = false;
    for (std::size_t piece = program.size() / bytes_of_step; piece != 0; piece /= 2) {
        for (std::size_t at = 0; at + piece * bytes_of_step <= program.size();) {
            program_bytes shorter = program;
            const auto begin = shorter.begin() + static_cast<std::ptrdiff_t>(at);
            shorter.erase(begin, begin + static_cast<std::ptrdiff_t>(piece * bytes_of_step));
            if (fails(shorter)) {
                program = std::move(shorter);
                any = true;
            } else {
                at += piece * bytes_of_step;
            }
        }
    }
    return any;
}

bool choose_simpler(program_bytes& program) {
    bool any = false;
    for (std::uint8_t& byte : program) {
        for (const int simpler : {0, byte / 2, byte - 1}) {
            const std::uint8_t was = byte;
            if (simpler < 0 || simpler >= was) continue;
            byte = static_cast<std::uint8_t>(simpler);
            if (fails(program)) {
                any = true;
                break;
            }
            byte = was;
        }
    }
    return any;
}

} // namespace

std::string run_program(std::span<const std::uint8_t> program, index_counts& counts) {
    index_world world;
    std::string wrong = run_in(world, program);
    const index_counts& more = world.counts();
    counts.steps += more.steps;
    counts.refused += more.refused;
    counts.grown += more.grown;
    counts.in_place += more.in_place;
    counts.made_real += more.made_real;
    counts.sparse += more.sparse;
    counts.slots += more.slots;
    return wrong;
}

program_bytes shrink(program_bytes program) {
    program.resize((program.size() + bytes_of_step - 1) / bytes_of_step * bytes_of_step);
    for (bool smaller = true; smaller;) {
        smaller = leave_out_steps(program);
        smaller = choose_simpler(program) || smaller;
    }
    return program;
}

std::string story_of(std::span<const std::uint8_t> program) {
    index_world world(true);
    const std::string wrong = run_in(world, program);
    return world.story() + wrong + "\n";
}

} // namespace model
