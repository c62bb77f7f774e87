// Running a program's steps on both sides.
#include "model/program.hpp"

#include "matrix/validate.hpp"

#include <nd/create.hpp>

#include <ostream>
#include <sstream>

namespace model {

std::ostream& operator<<(std::ostream& out, const step& s) {
    const auto operations = all_operations();
    return out << operations[s.operation % operations.size()].name << "(" << s.a << ", " << s.b << ", " << s.c
               << ")";
}

world::world() : before_(test::count_live_blocks()) { handles_.reserve(64); }

world::~world() {
    while (!handles_.empty()) release(handles_.size() - 1);
}

void world::add(ndArray_tag* real, array expected) {
    handles_.push_back({real, std::make_shared<array>(std::move(expected))});
}

void world::release(std::size_t i) {
    const handle gone = handles_[i];
    handles_.erase(handles_.begin() + static_cast<std::ptrdiff_t>(i));
    --gone.expected->owners;
    matrix::destroyArray(gone.real);
}

std::string world::check() const {
    for (std::size_t i = 0; i < handles_.size(); ++i) {
        const handle& h = handles_[i];
        std::string wrong = matrix::internal::validate(h.real);
        if (wrong.empty()) wrong = h.expected->difference_from(h.real);
        if (!wrong.empty()) return "handle " + std::to_string(i) + ": " + wrong;
    }
    return {};
}

std::string world::run(const step& s) {
    const auto operations = all_operations();
    operations[s.operation % operations.size()].run(*this, s);
    return check();
}

std::string world::finish() {
    while (!handles_.empty()) release(handles_.size() - 1);
    const test::live_blocks left = test::count_live_blocks() - before_;
    if (left.header_slots == 0 && left.aligned_heap == 0) return {};
    std::ostringstream out;
    out << "blocks were left behind: " << left;
    return out.str();
}

} // namespace model
