// What sharing leaves in arrays, taken back when an operation fails after it has shared some of them.
//
// Sharing an array costs it its reusable bit, gives it the shared-data bit and, when it had none, a record. Where one thing is shared
// everything that can fail comes first; where several are shared one after the other, the next one may fail.
#pragma once

#include <nd/array.hpp>

#include <boost/container/small_vector.hpp>

namespace matrix::internal {

/// Owns no reference: the arrays noted outlive it. It outlives the copies, so it's declared before what owns them.
class sharing_rollback {
public:
    sharing_rollback() = default;
    sharing_rollback(const sharing_rollback&) = delete;
    sharing_rollback& operator=(const sharing_rollback&) = delete;
    /// Gives every array that was noted its marks back. The copies that were made since have ended.
    ~sharing_rollback();

    /// To be told before the array is shared. Raises std::bad_alloc.
    void note(ndArray_tag* array);

    /// The same for an element, or null, that goes to another slot (share_for_slot() in matrix/data_copy.hpp), and for all elements of
    /// a container.
    void note_element(ndArray_tag* element);
    void note_elements(const ndArray_tag* container);

    /// The operation has succeeded: what was shared stays so.
    void keep() noexcept { sources_.clear(); }

private:
    struct marks {
        ndArray_tag* array;
        std::uint32_t flags;
        bool has_record;
    };
    boost::container::small_vector<marks, 4> sources_;
};

} // namespace matrix::internal
