// Elements that have lost their slots, while the container is still being changed.
#pragma once

#include "matrix/accessors.hpp"
#include "matrix/class_table.hpp"

#include <nd/create.hpp>

#include <utility>

namespace matrix::internal {

/// Elements whose end others hear of, as hooks of objects do, end when this does: those may look at the container or change it. All
/// others end at once.
class ending_elements {
public:
    ending_elements() = default;
    ~ending_elements() {
        while (first_ != nullptr) {
            ndArray_tag* const element = std::exchange(first_, first_->next);
            element->next = nullptr;
            destroyArray(element);
        }
    }
    ending_elements(const ending_elements&) = delete;
    ending_elements& operator=(const ending_elements&) = delete;

    /// The slot's reference is handed over; null is ignored.
    void add(ndArray_tag* element) noexcept {
        if (element == nullptr || header_owners(element) > 1 || ends_unheard(element))
            return destroyArray(element);
        *end_ = element;
        end_ = &element->next;
    }

private:
    static bool ends_unheard(const ndArray_tag* element) noexcept {
        return !can_hold_references(element->class_id) && !element->hasCustomDeleter();
    }

    ndArray_tag* first_ = nullptr;
    ndArray_tag** end_ = &first_; ///< the next of the last one, which is null
};

} // namespace matrix::internal
