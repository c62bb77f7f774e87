// The copy of a data block, through one table by class.
#include "matrix/data_copy.hpp"

#include "matrix/accessors.hpp"
#include "matrix/arraycpy.hpp"
#include "matrix/class_hooks.hpp"
#include "matrix/containers.hpp"
#include "matrix/function_records.hpp"
#include "matrix/header_factory.hpp"
#include "matrix/own_block.hpp"
#include "matrix/root_record.hpp"
#include "matrix/scaffolding.hpp"
#include "matrix/sharing.hpp"
#include "matrix/sharing_rollback.hpp"
#include "matrix/size_check.hpp"
#include "matrix/sparse_parts.hpp"

#include <algorithm>
#include <cstring>
#include <vector>

namespace matrix::internal {
namespace {

// Room for count items. A product that doesn't fit is more than any heap has.
void* allocate_items(std::size_t count, std::size_t item_size, DataInitialization init) {
    return allocate_data(saturated_product(count, item_size), init);
}

// A fresh block for capacity items of which the first live ones are the source's. Index vectors aren't tested when they are set,
// so they may tell of more items than there is room for.
void* copy_items(const void* source, std::size_t item_size, std::size_t capacity, std::size_t live) {
    if (source == nullptr) return nullptr;
    void* const block = allocate_items(capacity, item_size, DataInitialization::uninitialized);
    if (block != nullptr) std::memcpy(block, source, std::min(live, capacity) * item_size);
    return block;
}

std::uint64_t copy_indices(std::uint64_t source, std::size_t capacity, std::size_t live) {
    return std::bit_cast<std::uint64_t>(
        copy_items(std::bit_cast<const void*>(source), sizeof(std::size_t), capacity, live));
}

// The room for nzmax elements stays; only those that are stored are copied.
void copy_rows(const ndArray_tag* source, std::size_t stored, data_blocks& to) {
    to.rows = copy_indices(source->info_a, source->info_c, stored);
}

void copy_starts(const ndArray_tag* source, data_blocks& to) {
    const std::size_t count = saturated_sum(column_count(source), 1);
    to.starts = copy_indices(source->info_b, count, count);
}

void copy_values(const ndArray_tag* source, std::size_t stored, data_blocks& to) {
    to.pdata = copy_items(source->pdata, stored_element_size(source), source->info_c, stored);
}

void copy_sparse(const ndArray_tag* source, data_copy& to) {
    const std::size_t stored = stored_count(source);
    copy_starts(source, to.blocks());
    copy_rows(source, stored, to.blocks());
    copy_values(source, stored, to.blocks());
}

void copy_elements(const ndArray_tag* source, data_copy& to) {
    if (is_sparse(source)) return copy_sparse(source, to);
    if (source->pdata == nullptr) return;
    check_shared_block(source);
    const std::size_t count = element_count(source);
    to.blocks().pdata = copy_items(source->pdata, stored_element_size(source), count, count);
}

// What is still to be copied of one container.
struct pending_slots {
    const ndArray_tag* from;
    ndArray_tag** to;
    const ndArray_tag* holder;
};

// Copies an element. A nested container comes back with null slots, which are put on the stack.
array_ptr copy_element(const ndArray_tag* element, std::vector<pending_slots>& stack) {
    if (!is_container_class(element->class_id)) return detail::do_deep_copy(element);
    array_ptr copy = copy_header(element);
    const std::size_t count = element->pdata == nullptr ? 0 : slot_count(element);
    copy->pdata = allocate_items(count, sizeof(ndArray_tag*), DataInitialization::zeroed);
    if (copy->pdata != nullptr) stack.push_back({element, slots_of(copy.get()), copy.get()});
    return copy;
}

// Level by level with a list of its own, so that any depth of nesting takes constant stack. Slots that aren't filled yet are
// null: after a failure the outermost block takes down what exists.
void copy_slots(const ndArray_tag* source, data_copy& to) {
    const std::size_t count = source->pdata == nullptr ? 0 : slot_count(source);
    void* const block = to.allocate(count, sizeof(ndArray_tag*), DataInitialization::zeroed);
    if (block == nullptr) return;
    std::vector<pending_slots> stack{{source, static_cast<ndArray_tag**>(block), to.holder()}};
    while (!stack.empty()) {
        const pending_slots work = stack.back();
        stack.pop_back();
        for (std::size_t i = 0, slots = slot_count(work.from); i < slots; ++i) {
            const ndArray_tag* const element = slots_of(work.from)[i];
            if (element == nullptr) continue;
            array_ptr copy = copy_element(element, stack);
            copy->scope = ndMEMBER_SCOPE;
            add_root_container(copy.get(), work.holder);
            work.to[i] = copy.release();
        }
    }
}

void copy_records(const ndArray_tag* source, data_copy& to) {
    const std::size_t count = source->pdata == nullptr ? 0 : element_count(source);
    void* const block = to.allocate(count, sizeof(function_record), DataInitialization::zeroed);
    if (block != nullptr) copy_function_records(source->pdata, block, count, to.holder());
}

void copy_references(const ndArray_tag* source, data_copy& to) {
    const std::size_t count = source->pdata == nullptr ? 0 : element_count(source);
    auto* const block = static_cast<void**>(to.allocate(count, sizeof(void*), DataInitialization::zeroed));
    for (std::size_t i = 0; block != nullptr && i < count; ++i) {
        const void* const element = static_cast<void* const*>(source->pdata)[i];
        if (element != nullptr) block[i] = copy_opaque_element(source, element);
    }
}

void copy_nothing(const ndArray_tag* /*source*/, data_copy& /*to*/) {}

using copy_function = void (*)(const ndArray_tag* source, data_copy& to);

constexpr auto copydatafcn = [] {
    std::array<copy_function, class_rows.size()> table{};
    for (std::size_t i = 0; i < table.size(); ++i) {
        const ndClassID id = class_rows[i].id;
        table[i] = class_rows[i].container                ? copy_slots
                   : id == ndFUNCTION_CLASS               ? copy_records
                   : id == ndOPAQUE_CLASS                 ? copy_references
                   : element_size(code_of(id, false)) > 0 ? copy_elements
                                                          : copy_nothing;
    }
    return table;
}();

} // namespace

data_copy::~data_copy() {
    if (blocks_.pdata != nullptr) {
        if (is_container_class(class_id_)) {
            auto* const slots = static_cast<ndArray_tag**>(blocks_.pdata);
            for (std::size_t i = items_; i-- > 0;) destroyArray(slots[i]);
        } else if (class_id_ == ndFUNCTION_CLASS) {
            release_function_records(blocks_.pdata, items_, holder_);
        } else if (class_id_ == ndOPAQUE_CLASS) {
            destroy_opaque_elements(holder_, static_cast<void* const*>(blocks_.pdata), items_);
        }
        free_data(blocks_.pdata);
    }
    free_data(std::bit_cast<void*>(blocks_.rows));
    free_data(std::bit_cast<void*>(blocks_.starts));
}

void* data_copy::allocate(std::size_t count, std::size_t size, DataInitialization init) {
    blocks_.pdata = allocate_items(count, size, init);
    items_ = count;
    return blocks_.pdata;
}

data_copy copy_data(const ndArray_tag* source, const ndArray_tag* holder) {
    bring_data_up_to_date(source);
    data_copy copy(holder);
    copydatafcn[static_cast<std::size_t>(source->class_id)](source, copy);
    return copy;
}

data_copy copy_index_vectors(const ndArray_tag* source) {
    data_copy copy(source);
    copy_starts(source, copy.blocks());
    copy_rows(source, stored_count(source), copy.blocks());
    return copy;
}

data_copy copy_data_without(const ndArray_tag* source, index_vector left_out) {
    bring_data_up_to_date(source);
    data_copy copy(source);
    if (left_out == index_vector::starts) {
        copy_rows(source, source->info_c, copy.blocks());
        copy_values(source, source->info_c, copy.blocks());
    } else {
        copy_starts(source, copy.blocks());
        copy_values(source, stored_count(source), copy.blocks());
    }
    return copy;
}

ndArray_tag* share_for_slot(ndArray_tag* element, const ndArray_tag* holder) {
    if (element == nullptr) return nullptr;
    if (!can_hold_references(element->class_id)) {
        intrusive_ptr_add_ref(element);
        return element;
    }
    array_ptr shared = share_or_copy(element);
    shared->scope = ndMEMBER_SCOPE;
    add_root_container(shared.get(), holder);
    return shared.release();
}

data_copy copy_slots_shallow(const ndArray_tag* source, const ndArray_tag* holder) {
    sharing_rollback shared;
    data_copy copy(holder);
    const std::size_t count = source->pdata == nullptr ? 0 : slot_count(source);
    auto* const slots =
        static_cast<ndArray_tag**>(copy.allocate(count, sizeof(ndArray_tag*), DataInitialization::zeroed));
    for (std::size_t i = 0; slots != nullptr && i < count; ++i) {
        ndArray_tag* const element = slots_of(source)[i];
        shared.note_element(element);
        slots[i] = share_for_slot(element, holder);
    }
    shared.keep();
    return copy;
}

void put_data(ndArray_tag* array, const data_blocks& blocks) noexcept {
    array->pdata = blocks.pdata;
    array->flags &= ~flags_of_block;
    if (is_sparse(array)) {
        array->info_a = blocks.rows;
        array->info_b = blocks.starts;
    }
}

} // namespace matrix::internal
