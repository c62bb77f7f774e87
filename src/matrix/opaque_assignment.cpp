// The table of a class system, and what goes without one.
#include "matrix/opaque_assignment.hpp"

#include "matrix/class_hooks.hpp"

#include <errors/raise.hpp>

#include <atomic>
#include <string_view>
#include <utility>

namespace matrix::internal {
namespace {

constexpr opaque_assignment_table no_classes{};
constinit std::atomic<const opaque_assignment_table*> the_table{&no_classes};

// Another thread may set a table at any time: a function is loaded once, tested and called.
const opaque_assignment_table& table() noexcept { return *the_table.load(std::memory_order_acquire); }

} // namespace

void set_opaque_assignment(const opaque_assignment_table* table) noexcept {
    the_table.store(table == nullptr ? &no_classes : table, std::memory_order_release);
}

void assign_to_opaque(ndArray_tag* array, std::size_t subscripts, const kvIndex* const* positions,
                      const kvSize* counts, const kvSize* maxima, const ndArray_tag* rhs) {
    const auto assign = table().assign;
    if (assign == nullptr) errors::raise<TARVEL::legacy_two_part::invalidInput>();
    assign(array, subscripts, positions, counts, maxima, rhs);
}

bool replace_opaque_element(ndArray_tag* holder, const ndArray_tag* source, void** slot,
                            const void* element) {
    const auto replace = table().replace_element;
    if (element != nullptr && replace != nullptr) return replace(holder, slot, element);
    void* const copy = element == nullptr ? nullptr : copy_opaque_element(source, element);
    void* const old = std::exchange(*slot, copy);
    destroy_opaque_elements(holder, &old, 1);
    return true;
}

bool makes_own_elements(const ndArray_tag* array) noexcept {
    if (array->class_id != ndOPAQUE_CLASS) return false;
    const auto subclass = table().subclass;
    return subclass != nullptr && std::string_view(subclass(array)) == "HOBJ";
}

} // namespace matrix::internal
