// The routines for one run, and the table that finds the one of a class.
#include "indexing/element_read.hpp"

#include "matrix/accessors.hpp"
#include "matrix/class_hooks.hpp"
#include "matrix/containers.hpp"
#include "matrix/data_copy.hpp"
#include "matrix/function_records.hpp"
#include "matrix/sharing_rollback.hpp"

#include <new>
#include <span>
#include <utility>

namespace matrix::internal {
namespace {

// Shares the elements of runs of slots with slots of holder, which are null till then.
class slot_reader {
public:
    slot_reader(ndArray_tag* holder, sharing_rollback& shared) noexcept
        : target_(slots_of(holder)), holder_(holder), shared_(shared) {}

    bool operator()(const position_run& run, const std::byte* base) {
        return walk_run(run, [&](std::size_t offset) {
            ndArray_tag* element = nullptr;
            std::memcpy(&element, base + offset * sizeof element, sizeof element);
            shared_.note_element(element);
            *target_++ = share_for_slot(element, holder_);
        });
    }

private:
    ndArray_tag** target_;
    const ndArray_tag* holder_;
    sharing_rollback& shared_;
};

// Ends what stands in the slots of a container, unless it is kept.
class slots_on_probation {
public:
    explicit slots_on_probation(ndArray_tag* container) noexcept : container_(container) {}
    ~slots_on_probation() {
        if (container_ == nullptr) return;
        for (ndArray_tag*& slot : std::span(slots_of(container_), slot_count(container_)))
            destroyArray(std::exchange(slot, nullptr));
    }
    slots_on_probation(const slots_on_probation&) = delete;
    slots_on_probation& operator=(const slots_on_probation&) = delete;

    void keep() noexcept { container_ = nullptr; }

private:
    ndArray_tag* container_;
};

class record_reader {
public:
    explicit record_reader(ndArray_tag* holder) noexcept
        : target_(static_cast<function_record*>(holder->pdata)), holder_(holder) {}

    bool operator()(const position_run& run, const std::byte* base) {
        return walk_run(run, [&](std::size_t offset) {
            copy_function_records(base + offset * sizeof(function_record), target_++, 1, holder_);
        });
    }

private:
    function_record* target_;
    const ndArray_tag* holder_;
};

class opaque_reader {
public:
    opaque_reader(const ndArray_tag* source, void* target) noexcept
        : source_(source), target_(static_cast<void**>(target)) {}

    bool operator()(const position_run& run, const std::byte* base) {
        return walk_run(run, [&](std::size_t offset) {
            void* element = nullptr;
            std::memcpy(&element, base + offset * sizeof element, sizeof element);
            void*& place = *target_++;
            if (element != nullptr) place = copy_opaque_element(source_, element);
        });
    }

private:
    const ndArray_tag* source_;
    void** target_;
};

// What is walked, and where it goes.
struct read_request {
    const ndArray_tag* source;
    dims_view dims;
    const SubscriptSet& set;
    ndArray_tag* result;

    template <class Reader>
    bool walk(Reader reader) const {
        return walk_elements(static_cast<const std::byte*>(source->pdata), dims, set,
                             stored_element_size(source), reader);
    }
};

bool read_bytes(const read_request& request) {
    void* const target = request.result->pdata;
    switch (stored_element_size(request.source)) {
    case 1:
        return request.walk(byte_reader<1>(target));
    case 2:
        return request.walk(byte_reader<2>(target));
    case 4:
        return request.walk(byte_reader<4>(target));
    case 8:
        return request.walk(byte_reader<8>(target));
    case 16:
        return request.walk(byte_reader<16>(target));
    default:
        return true; // a class without elements
    }
}

bool read_slots(const read_request& request) {
    sharing_rollback shared;
    slots_on_probation slots(request.result);
    if (!request.walk(slot_reader(request.result, shared))) return false;
    slots.keep();
    shared.keep();
    return true;
}

bool read_records(const read_request& request) { return request.walk(record_reader(request.result)); }

bool read_opaque(const read_request& request) {
    return request.walk(opaque_reader(request.source, request.result->pdata));
}

using read_function = bool (*)(const read_request& request);

constexpr auto read_functions = [] {
    std::array<read_function, class_rows.size()> table{};
    for (const class_row& row : class_rows)
        table[static_cast<std::size_t>(row.id)] = row.container                ? read_slots
                                                  : row.id == ndFUNCTION_CLASS ? read_records
                                                  : row.id == ndOPAQUE_CLASS   ? read_opaque
                                                                               : read_bytes;
    return table;
}();

} // namespace

bool read_elements(const ndArray_tag* source, dims_view dims, const SubscriptSet& set, ndArray_tag* result) {
    if (source->pdata == nullptr) return true;
    try {
        return read_functions[static_cast<std::size_t>(source->class_id)]({source, dims, set, result});
    } catch (const std::bad_alloc&) {
        return false;
    }
}

} // namespace matrix::internal
