// Running a program's steps over containers on both sides.
#include "model/container_program.hpp"

#include "matrix/validate.hpp"

#include <sstream>

namespace model {
namespace {

constexpr std::size_t most_handles = 12;
constexpr std::size_t largest_world = 600;

} // namespace

container_world::container_world() : before_(test::count_live_blocks()) { handles_.reserve(most_handles); }

bool container_world::has_room(std::size_t size) const {
    std::size_t all = size;
    for (const container_handle& h : handles_) all += h.expected.size();
    return handles_.size() < most_handles && all <= largest_world;
}

void container_world::add(matrix::array_ptr real, tree expected) {
    handles_.push_back({std::move(real), std::move(expected)});
}

std::string container_world::run(const step& s) {
    const auto operations = all_container_operations();
    operations[s.operation % operations.size()].run(*this, s);
    for (std::size_t i = 0; i < handles_.size(); ++i) {
        const container_handle& h = handles_[i];
        std::string wrong = matrix::internal::validate(h.real.get());
        if (wrong.empty()) wrong = h.expected.difference_from(h.real.get());
        if (!wrong.empty()) return "handle " + std::to_string(i) + ": " + wrong;
    }
    return {};
}

std::string container_world::finish() {
    handles_.clear();
    const test::live_blocks left = test::count_live_blocks() - before_;
    if (left.header_slots == 0 && left.aligned_heap == 0) return {};
    std::ostringstream out;
    out << "blocks were left behind: " << left;
    return out.str();
}

} // namespace model
