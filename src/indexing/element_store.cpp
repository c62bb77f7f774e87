// Storing elements, by what an element is.
#include "indexing/element_store.hpp"

#include "indexing/element_walk.hpp"
#include "indexing/store_loops.hpp"
#include "matrix/accessors.hpp"
#include "matrix/class_hooks.hpp"
#include "matrix/containers.hpp"
#include "matrix/ending_elements.hpp"
#include "matrix/function_records.hpp"
#include "matrix/gc_list.hpp"
#include "matrix/opaque_assignment.hpp"

#include <errors/raise.hpp>

#include <nd/create.hpp>

#include <algorithm>
#include <array>
#include <cstring>
#include <span>
#include <utility>

namespace matrix::internal {
namespace {

// Each writes the elements of one run and keeps its place in the source.

template <std::size_t Width>
class copied_values {
public:
    explicit copied_values(const std::byte* from) noexcept : from_(from) {}

    bool operator()(const position_run& run, std::byte* base) noexcept {
        if (run.is_block()) {
            std::memmove(base, from_, run.count * Width);
            from_ += run.count * Width;
            return true;
        }
        return walk_run(run, [this, base](std::size_t offset) {
            std::memcpy(base + offset * Width, from_, Width);
            from_ += Width;
        });
    }

private:
    const std::byte* from_;
};

template <std::size_t Width>
class repeated_value {
public:
    explicit repeated_value(const std::byte* from) noexcept { std::memcpy(value_.data(), from, Width); }

    bool operator()(const position_run& run, std::byte* base) const noexcept {
        if (run.is_block()) {
            fill_block<Width>(base, value_.data(), run.count);
            return true;
        }
        return walk_run(run, [value = value_, base](std::size_t offset) {
            std::memcpy(base + offset * Width, value.data(), Width);
        });
    }

private:
    std::array<std::byte, Width> value_;
};

// Real values of Part bytes; the imaginary parts become 0.
template <std::size_t Part>
class widened_values {
public:
    explicit widened_values(const std::byte* from) noexcept : from_(from) {}

    bool operator()(const position_run& run, std::byte* base) noexcept {
        return walk_run(run, [this, base](std::size_t offset) {
            std::byte* const to = base + offset * 2 * Part;
            std::memcpy(to, from_, Part);
            std::memset(to + Part, 0, Part);
            from_ += Part;
        });
    }

private:
    const std::byte* from_;
};

struct value_source {
    const std::byte* values;
    bool scalar;
    bool widen;
};

template <std::size_t Width>
bool write(std::byte* data, dims_view seen, const SubscriptSet& set, const value_source& from) {
    if constexpr (Width > 1) {
        constexpr std::size_t part = Width / 2;
        if (from.widen && !from.scalar)
            return walk_elements(data, seen, set, Width, widened_values<part>(from.values));
        if (from.widen) {
            std::array<std::byte, Width> wide{};
            std::memcpy(wide.data(), from.values, part);
            return walk_elements(data, seen, set, Width, repeated_value<Width>(wide.data()));
        }
    }
    if (from.scalar) return walk_elements(data, seen, set, Width, repeated_value<Width>(from.values));
    return walk_elements(data, seen, set, Width, copied_values<Width>(from.values));
}

bool write_by_width(std::size_t width, std::byte* data, dims_view seen, const SubscriptSet& set,
                    const value_source& from) {
    switch (width) {
    case 1:
        return write<1>(data, seen, set, from);
    case 2:
        return write<2>(data, seen, set, from);
    case 4:
        return write<4>(data, seen, set, from);
    case 8:
        return write<8>(data, seen, set, from);
    case 16:
        return write<16>(data, seen, set, from);
    default:
        return true; // a class without elements
    }
}

std::span<ndArray_tag* const> slots_in(const ndArray_tag* container) noexcept {
    if (container->pdata == nullptr) return {};
    return {slots_of(container), slot_count(container)};
}

bool holds_references(const ndArray_tag* element) noexcept {
    return element != nullptr && can_hold_references(element->class_id);
}

// The slots that a source gives, one after the other; a single element of a cell or struct gives its slots again and again.
class slot_cycle {
public:
    explicit slot_cycle(const ndArray_tag* source) noexcept : slots_(slots_in(source)) {}

    ndArray_tag* next() noexcept {
        if (slots_.empty()) return nullptr;
        ndArray_tag* const element = slots_[at_];
        if (++at_ == slots_.size()) at_ = 0;
        return element;
    }

    /// Nothing but the first slot.
    slot_cycle first() const noexcept { return slot_cycle(slots_.first(1)); }

private:
    explicit slot_cycle(std::span<ndArray_tag* const> slots) noexcept : slots_(slots) {}

    std::span<ndArray_tag* const> slots_;
    std::size_t at_ = 0;
};

data_copy shared_for_slots(ndArray_tag* target, slot_cycle from, std::size_t count,
                           sharing_rollback& shared) {
    data_copy prepared(target);
    auto* const places = static_cast<ndArray_tag**>(
        prepared.allocate(count, sizeof(ndArray_tag*), DataInitialization::zeroed));
    for (std::size_t i = 0; i < count; ++i) {
        ndArray_tag* const element = from.next();
        shared.note_element(element);
        places[i] = share_for_slot(element, target);
        if (holds_references(element)) note_link_on_gc_list(target, places[i]);
    }
    return prepared;
}

data_copy acquired_records(ndArray_tag* target, const ndArray_tag* source, std::size_t count, bool scalar) {
    data_copy prepared(target);
    auto* const places = static_cast<function_record*>(
        prepared.allocate(count, sizeof(function_record), DataInitialization::zeroed));
    const auto* const from = static_cast<const function_record*>(source->pdata);
    if (from == nullptr) return prepared;
    for (std::size_t i = 0; i < count; ++i)
        copy_function_records(from + (scalar ? 0 : i), places + i, 1, target);
    return prepared;
}

data_copy filled_references(ndArray_tag* target, const ndArray_tag* source, std::size_t count, bool scalar) {
    data_copy prepared(target);
    auto* const places =
        static_cast<void**>(prepared.allocate(count, sizeof(void*), DataInitialization::zeroed));
    const auto* const from = static_cast<void* const*>(source->pdata);
    for (std::size_t i = 0; i < count; ++i) {
        if (!replace_opaque_element(target, source, places + i, from[scalar ? 0 : i]))
            errors::raise<TARVEL::legacy_two_part::nomem>();
    }
    return prepared;
}

} // namespace

data_copy copies_for_slots(ndArray_tag* target, const ndArray_tag* source, std::size_t count) {
    if (target->class_id != ndOPAQUE_CLASS) {
        sharing_rollback shared;
        data_copy copies = shared_for_slots(target, slot_cycle(source).first(), count, shared);
        shared.keep();
        return copies;
    }
    data_copy prepared(target);
    auto* const places =
        static_cast<void**>(prepared.allocate(count, sizeof(void*), DataInitialization::zeroed));
    const void* const element = *static_cast<void* const*>(source->pdata);
    for (std::size_t i = 0; element != nullptr && i < count; ++i)
        places[i] = copy_opaque_element(source, element);
    return prepared;
}

element_store::element_store(ndArray_tag* target, const ndArray_tag* source, std::size_t count, bool grows)
    : source_(source), scalar_(element_count(source) == 1) {
    if (count == 0) return;
    if (is_container_class(target->class_id)) {
        const auto slots = slots_in(source);
        if (std::any_of(slots.begin(), slots.end(), holds_references))
            prepared_.emplace(shared_for_slots(target, slot_cycle(source), count, shared_));
    } else if (target->class_id == ndFUNCTION_CLASS) {
        prepared_.emplace(acquired_records(target, source, count, scalar_));
    } else if (target->class_id == ndOPAQUE_CLASS && grows) {
        prepared_.emplace(filled_references(target, source, count, scalar_));
    }
}

bool element_store::store_into(ndArray_tag* target, dims_view seen, const SubscriptSet& set) {
    if (is_container_class(target->class_id)) return store_slots(target, seen, set);
    if (target->class_id == ndFUNCTION_CLASS) return store_records(target, seen, set);
    if (target->class_id == ndOPAQUE_CLASS) return store_references(target, seen, set);
    return store_values(target, seen, set);
}

bool element_store::store_values(ndArray_tag* target, dims_view seen, const SubscriptSet& set) const {
    const value_source from{static_cast<const std::byte*>(source_->pdata), scalar_,
                            is_complex(target) && !is_complex(source_)};
    return write_by_width(stored_element_size(target), static_cast<std::byte*>(target->pdata), seen, set,
                          from);
}

bool element_store::store_slots(ndArray_tag* target, dims_view seen, const SubscriptSet& set) {
    auto* prepared = prepared_ ? static_cast<ndArray_tag**>(prepared_->blocks().pdata) : nullptr;
    slot_cycle from(source_);
    const auto next = [&]() -> ndArray_tag* {
        if (prepared != nullptr) return std::exchange(*prepared++, nullptr);
        return share_for_slot(from.next(), target); // plain: only its count changes
    };
    ending_elements old;
    const bool stored = walk_elements(
        static_cast<std::byte*>(target->pdata), seen, set, sizeof(ndArray_tag*),
        [&](const position_run& run, std::byte* base) {
            auto* const slots = reinterpret_cast<ndArray_tag**>(base);
            return walk_run(run, [&](std::size_t offset) { old.add(std::exchange(slots[offset], next())); });
        });
    if (stored) shared_.keep();
    return stored;
}

bool element_store::store_records(ndArray_tag* target, dims_view seen, const SubscriptSet& set) {
    if (!prepared_) return true;
    auto* prepared = static_cast<function_record*>(prepared_->blocks().pdata);
    return walk_elements(static_cast<std::byte*>(target->pdata), seen, set, sizeof(function_record),
                         [&](const position_run& run, std::byte* base) {
                             auto* const records = reinterpret_cast<function_record*>(base);
                             return walk_run(run, [&](std::size_t offset) {
                                 function_record old = std::exchange(
                                     records[offset], std::exchange(*prepared++, function_record{}));
                                 release_function_records(&old, 1, target);
                             });
                         });
}

bool element_store::store_references(ndArray_tag* target, dims_view seen, const SubscriptSet& set) {
    auto** prepared = prepared_ ? static_cast<void**>(prepared_->blocks().pdata) : nullptr;
    auto* const* from = static_cast<void* const*>(source_->pdata);
    const std::size_t step = scalar_ ? 0 : 1;
    return walk_elements(static_cast<std::byte*>(target->pdata), seen, set, sizeof(void*),
                         [&](const position_run& run, std::byte* base) {
                             auto** const slots = reinterpret_cast<void**>(base);
                             return walk_run(run, [&](std::size_t offset) {
                                 if (prepared != nullptr) {
                                     std::swap(*prepared++, slots[offset]); // the old one ends with the store
                                     return true;
                                 }
                                 const void* const element = *std::exchange(from, from + step);
                                 return replace_opaque_element(target, source_, slots + offset, element);
                             });
                         });
}

} // namespace matrix::internal
