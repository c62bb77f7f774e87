// The inside of a share record: its lock and the list of single-threaded sharers.
#pragma once

#include <nd/array.hpp>

#include <boost/container/small_vector.hpp>

/// The headers of a record that carry flag_single_threaded_sharing. Two is the common case and needs no heap.
struct sharer_list : boost::container::small_vector<ndArray_tag*, 2> {
    using small_vector::small_vector;
};

namespace matrix::internal {

/// Holds a record's spin lock while it lives: over list operations, the reading of scData and the making of a split view.
class record_lock {
public:
    explicit record_lock(::share_record* record) noexcept : record_(record) {
        while (record_->lock.exchange(1, std::memory_order_acquire) != 0) {
        }
    }
    ~record_lock() { record_->lock.store(0, std::memory_order_release); }
    record_lock(const record_lock&) = delete;
    record_lock& operator=(const record_lock&) = delete;

private:
    ::share_record* record_;
};

inline bool is_single_threaded(const ndArray_tag* array) noexcept {
    return (array->flags & flag_single_threaded_sharing) != 0;
}

} // namespace matrix::internal
