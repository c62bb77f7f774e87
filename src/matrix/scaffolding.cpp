// Making, refreshing and ending the separate view of a block.
#include "matrix/scaffolding.hpp"

#include "matrix/accessors.hpp"
#include "matrix/containers.hpp"
#include "matrix/dimensions.hpp"
#include "matrix/header_factory.hpp"
#include "matrix/interleave_kernels.hpp"
#include "matrix/own_block.hpp"
#include "matrix/share_record.hpp"
#include "matrix/sharing.hpp"
#include "matrix/size_check.hpp"

#include <foundation/core/except/exception.hpp>
#include <foundation/core/mem/aligned_heap.hpp>

#include <nd/interleaved.hpp>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <memory>
#include <span>
#include <unordered_set>
#include <utility>
#include <vector>

namespace matrix::internal {
namespace {

// Views in the whole process that are split now. Whoever got an array from another thread sees what that had counted.
constinit std::atomic<std::size_t> split_views{0};

bool has_block(const void* part) noexcept { return part != nullptr && part != scaffolding_without_data(); }

void free_parts(const scaffolding& view) noexcept {
    if (has_block(view.real_data)) free_data(view.real_data);
    if (has_block(view.imag_data)) free_data(view.imag_data);
}

struct view_deleter {
    void operator()(scaffolding* view) const noexcept { delete_scaffolding(view); }
};

bool is_numeric_array(const ndArray_tag* array) noexcept { return (array->flags & flag_numeric) != 0; }

std::size_t part_size(std::int32_t class_id) noexcept { return element_size(code_of(class_id, false)); }

// Bytes of the array's block, spare room included, with or without imaginary parts.
std::size_t byte_total(const ndArray_tag* array, bool complex) noexcept {
    std::size_t count = (array->flags & flag_sparse) != 0 ? array->info_c : element_count(array);
    if ((array->flags & flag_capacity_tracked) != 0) count = capacity_for(count);
    return saturated_product(count, part_size(array->class_id) * (complex ? 2 : 1));
}

std::size_t byte_total(const ndArray_tag* array) noexcept { return byte_total(array, is_complex(array)); }

data_block fresh_block(std::size_t bytes) {
    return data_block(allocate_data(bytes, DataInitialization::uninitialized));
}

// A block of another size with the same beginning. Raises; the old block stands then.
void resize(void*& block, std::size_t bytes) {
    if (!has_block(block)) {
        block = allocate_data(bytes, DataInitialization::uninitialized);
    } else if (bytes == 0) {
        free_data(std::exchange(block, nullptr));
    } else {
        void* const moved = foundation::core::mem::aligned_heap_instance().realloc(block, bytes);
        if (moved == nullptr) throw foundation::core::except::bad_alloc{};
        block = moved;
    }
}

// Every change of the state goes through here, so that split_views is right.
void set_split(scaffolding& view, bool split) noexcept {
    if (view.is_split == split) return;
    view.is_split = split;
    if (split) {
        split_views.fetch_add(1, std::memory_order_relaxed);
    } else {
        split_views.fetch_sub(1, std::memory_order_relaxed);
    }
}

void split_into(scaffolding& view, const ndArray_tag* array, std::size_t total, bool complex) noexcept {
    if (array->pdata != nullptr && has_block(view.real_data)) {
        if (complex) {
            deinterleave(array->class_id, array->pdata, view.real_data, view.imag_data,
                         total / (2 * part_size(array->class_id)));
        } else {
            std::memcpy(view.real_data, array->pdata, total);
        }
    }
    view.first_size = total;
    view.second_size = 0;
    view.class_id = array->class_id;
    view.block_size = has_shared_data(array) ? 0 : total;
    set_split(view, true);
}

// Blocks for the parts of the array, without values.
struct parts {
    parts(const ndArray_tag* array, std::size_t total, bool complex)
        : is_without_data(complex && total != 0 && array->pdata == nullptr) {
        if (total == 0 || array->pdata == nullptr) return;
        real = fresh_block(complex ? total / 2 : total);
        if (complex) imag = fresh_block(total / 2);
    }

    void put_into(scaffolding& view) noexcept {
        view.real_data = real.release();
        view.imag_data = is_without_data ? scaffolding_without_data() : imag.release();
    }

    data_block real;
    data_block imag;
    bool is_without_data;
};

std::unique_ptr<scaffolding, view_deleter> make_view(const ndArray_tag* array) {
    std::unique_ptr<scaffolding, view_deleter> view(new scaffolding);
    const std::size_t total = byte_total(array);
    parts(array, total, is_complex(array)).put_into(*view);
    split_into(*view, array, total, is_complex(array));
    return view;
}

void split_again(scaffolding& view, const ndArray_tag* array) {
    const std::size_t total = byte_total(array);
    const bool complex = is_complex(array);
    const std::size_t real_size = complex ? total / 2 : total;
    const std::size_t imag_size = total - real_size;
    if (view.first_size != real_size || view.second_size != imag_size) {
        resize(view.real_data, real_size);
        view.first_size = real_size;
        if (complex) {
            resize(view.imag_data, imag_size);
        } else if (void* const imaginary = std::exchange(view.imag_data, nullptr); has_block(imaginary)) {
            free_data(imaginary);
        }
        view.second_size = imag_size;
    }
    split_into(view, array, total, complex);
}

// Writes the parts back into the block that they were taken from, as the header that split it saw it.
void write_back(const scaffolding& view, void* block) noexcept {
    if (block == nullptr || !has_block(view.real_data)) return;
    if (has_block(view.imag_data)) {
        interleave(view.class_id, view.real_data, view.imag_data, block,
                   view.first_size / (2 * part_size(view.class_id)));
    } else {
        std::memcpy(block, view.real_data, view.first_size);
    }
}

// The elements of the array are those that were split, or the real ones of them: an array marked complex since has no imaginary
// parts in its block yet.
bool has_elements_of(const scaffolding& view, const ndArray_tag* array) noexcept {
    return part_size(view.class_id) == part_size(array->class_id) &&
           (is_complex(array) || view.imag_data == nullptr);
}

// What stands in the block behind the view, by the array's own account.
bool has_complex_block(const scaffolding& view, const ndArray_tag* array) noexcept {
    return has_elements_of(view, array) ? view.imag_data != nullptr : is_complex(array);
}

// The array alone has the block now. When another header has split it, or this one under another class, the view may stand for a
// part of the block only or for elements of another width: block and parts are brought in line with what the array says.
void claim_view(scaffolding& view, const ndArray_tag* array) {
    const bool complex = has_complex_block(view, array);
    const std::size_t total = view.block_size != 0 ? view.block_size : byte_total(array, complex);
    if (view.first_size != total || !has_elements_of(view, array)) {
        parts fresh(array, total, complex);
        write_back(view, array->pdata);
        free_parts(view);
        fresh.put_into(view);
        split_into(view, array, total, complex);
    }
    view.block_size = total;
}

// Makes room in a part and clears what is new in it.
void grow(void*& part, std::size_t from, std::size_t to) {
    if (!has_block(part)) return;
    resize(part, to);
    std::memset(static_cast<char*>(part) + from, 0, to - from);
}

// The parts follow an array that has grown or been marked complex since the split; what is new in them is 0. Larger parts than
// needed do no harm.
void grow_parts(scaffolding& view, const ndArray_tag* array, std::size_t total) {
    if (!has_block(view.real_data)) return;
    const bool has_imaginary = has_block(view.imag_data);
    const std::size_t held = has_imaginary ? view.first_size / 2 : view.first_size;
    const std::size_t wanted = std::max(held, is_complex(array) ? total / 2 : total);
    data_block imaginary;
    if (is_complex(array) && !has_imaginary)
        imaginary.reset(allocate_data(wanted, DataInitialization::zeroed));
    if (wanted > held) {
        grow(view.real_data, held, wanted);
        if (has_imaginary) grow(view.imag_data, held, wanted);
    }
    if (imaginary != nullptr) view.imag_data = imaginary.release();
    view.first_size = has_block(view.imag_data) ? 2 * wanted : wanted;
}

// Brings pdata up to date. Sharers keep their pointer: what was split is written in place.
void refresh(scaffolding& view, ndArray_tag* array) {
    if (has_shared_data(array)) return write_back(view, array->pdata);
    claim_view(view, array);
    const std::size_t total = byte_total(array);
    const bool block_fits = view.first_size == total;
    data_block fresh = block_fits ? nullptr : fresh_block(total);
    grow_parts(view, array, total);
    if (!block_fits && has_block(view.real_data)) replace_block(array, fresh.release());
    view.first_size = view.block_size = total;
    view.class_id = array->class_id;
    write_back(view, array->pdata);
}

// A sole user of real data takes the part as its block.
void take_real_part(scaffolding& view, ndArray_tag* array) {
    claim_view(view, array);
    grow_parts(view, array, byte_total(array));
    if (has_block(view.real_data)) replace_block(array, std::exchange(view.real_data, nullptr));
}

void end_split(scaffolding& view, ndArray_tag* array) {
    if (is_complex(array) || has_shared_data(array)) {
        refresh(view, array);
    } else {
        take_real_part(view, array);
    }
    // The parts are as long as the header made them that split the block; this one may say otherwise.
    const std::size_t bytes = view.first_size;
    const bool has_imaginary = has_block(view.imag_data);
    view.first_size = !has_block(view.real_data) ? 0 : has_imaginary ? bytes / 2 : bytes;
    view.second_size = has_imaginary ? bytes / 2 : 0;
    set_split(view, false);
}

// Several slots may lead to one block: it's entered once. Only one that has several users needs to be remembered.
bool is_entered_first(const ndArray_tag* container, std::unordered_set<const void*>& entered) {
    const bool has_others = header_owners(container) > 1 || has_shared_data(container);
    return !has_others || entered.insert(container->pdata).second;
}

// Calls body for the array and everything in its slots, on a list of its own. Raises std::bad_alloc.
template <class Body>
void for_each_below(ndArray_tag* array, Body body) {
    if (!is_container_class(array->class_id)) return body(array);
    std::unordered_set<const void*> entered;
    std::vector<ndArray_tag*> open{array};
    while (!open.empty()) {
        ndArray_tag* const here = open.back();
        open.pop_back();
        body(here);
        if (!is_container_class(here->class_id) || here->pdata == nullptr) continue;
        if (!is_entered_first(here, entered)) continue;
        for (ndArray_tag* const element : std::span(slots_of(here), slot_count(here))) {
            if (element != nullptr) open.push_back(element);
        }
    }
}

// Most processes never split anything: there is nothing to look for below an array then.
bool is_no_array_split() noexcept { return split_views.load(std::memory_order_relaxed) == 0; }

} // namespace

void delete_scaffolding(scaffolding* view) noexcept {
    if (view == nullptr) return;
    free_parts(*view);
    set_split(*view, false);
    delete view;
}

void note_block_size(ndArray_tag* array) noexcept {
    scaffolding* const view = is_numeric_array(array) ? view_of(array) : nullptr;
    if (view == nullptr || !view->is_split || view->block_size != 0 || has_shared_data(array)) return;
    view->block_size = byte_total(array, has_complex_block(*view, array));
}

void end_view(ndArray_tag* array) noexcept {
    if (array->share_record == nullptr) return;
    const record_lock lock(array->share_record);
    delete_scaffolding(std::exchange(array->share_record->scData, nullptr));
}

void update_interleaved(ndArray_tag* array) {
    if (!is_numeric_array(array)) return;
    scaffolding* const view = view_of(array);
    if (view == nullptr || !view->is_split) return;
    refresh(*view, array);
    view->second_size = 0;
}

} // namespace matrix::internal

scaffolding* ndArray_tag::get_scData() const {
    if (share_record == nullptr) return nullptr;
    const matrix::internal::record_lock lock(share_record);
    return share_record->scData;
}

bool ndArray_tag::split_data(bool force) {
    using namespace matrix::internal;
    if (!is_numeric_array(this)) return false;
    if (!force && !is_complex(this) && view_of(this) == nullptr) return false;
    if (share_record == nullptr) {
        auto view = make_view(this); // first: without a view there is nothing to have a record for
        ::share_record* const record = ensure_share_record(this);
        record->scData = view.release();
        return true;
    }
    const record_lock lock(share_record);
    if (share_record->scData == nullptr) {
        share_record->scData = make_view(this).release();
        forget_fingerprint(share_record);
    } else if (!share_record->scData->is_split) {
        split_again(*share_record->scData, this);
    }
    return true;
}

bool ndArray_tag::interleave_data() {
    using namespace matrix::internal;
    scaffolding* const view = is_numeric_array(this) ? view_of(this) : nullptr;
    if (view == nullptr) return false;
    if (view->is_split) end_split(*view, this);
    return true;
}

namespace matrix {

bool detail::isIC(const ndArray_tag* array) {
    const scaffolding* const view = internal::view_of(array);
    return view == nullptr || !view->is_split;
}

void switchToInterleaved(ndArray_tag* array) {
    if (internal::is_no_array_split()) return;
    internal::for_each_below(array, [](ndArray_tag* here) { here->interleave_data(); });
}

void updateInterleavedData(ndArray_tag* array) {
    if (internal::is_no_array_split()) return;
    internal::for_each_below(array, internal::update_interleaved);
}

} // namespace matrix
