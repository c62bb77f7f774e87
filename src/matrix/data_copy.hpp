// A copy of an array's data block by class, before any header has it.
//
//   logical, char, numeric   the live elements; a sparse array with its index vectors and its room
//   cell, struct, object     new slots with a deep copy in each that isn't null, level by level, whatever the depth
//   function handle          each record, with a reference more to what it holds
//   opaque                   each element as its class copies it; arrays whose class manages everything never come here
//   unknown, void            nothing
//
// An array without data gives null blocks.
#pragma once

#include <nd/array.hpp>
#include <nd/create.hpp>

#include <utility>

namespace matrix::internal {

struct data_blocks {
    void* pdata = nullptr;
    std::uint64_t rows = 0;   ///< sparse: ir
    std::uint64_t starts = 0; ///< sparse: jc
};

/// Owns copied blocks and what stands in them until a header takes them.
class data_copy {
public:
    /// For blocks that holder, or a header that takes its place, is going to have.
    explicit data_copy(const ndArray_tag* holder) noexcept : holder_(holder), class_id_(holder->class_id) {}
    data_copy(data_copy&& other) noexcept
        : holder_(other.holder_), class_id_(other.class_id_), items_(other.items_), blocks_(other.take()) {}
    data_copy& operator=(data_copy&&) = delete;
    ~data_copy();

    /// Gives the blocks up: they belong to the caller.
    data_blocks take() noexcept { return std::exchange(blocks_, {}); }

    /// A fresh first block for count items of size bytes; zeroed if asked for. Raises std::bad_alloc.
    void* allocate(std::size_t count, std::size_t size, DataInitialization init);

    const ndArray_tag* holder() const noexcept { return holder_; }
    data_blocks& blocks() noexcept { return blocks_; }

private:
    const ndArray_tag* holder_;
    std::int32_t class_id_; // of the holder, which may be gone when a copy of plain data is given up
    std::size_t items_ = 0; ///< slots, records or elements in blocks_.pdata
    data_blocks blocks_;
};

/// Copies source's data for holder, which has source's class or, of a container, that of another one. Raises std::bad_alloc and
/// what copying an element raises.
data_copy copy_data(const ndArray_tag* source, const ndArray_tag* holder);

/// The index vectors of a sparse array alone. Raises std::bad_alloc.
data_copy copy_index_vectors(const ndArray_tag* source);

/// What a slot of holder gets of an element that stands, or stood, in another slot: the element itself with one owner more, or a
/// shared copy of one that can hold references. Null for null. Raises std::bad_alloc.
ndArray_tag* share_for_slot(ndArray_tag* element, const ndArray_tag* holder);

enum class index_vector : bool { rows, starts };

/// The data of a sparse array with all but one of its index vectors, in whose place another one is going to stand: the word of
/// that one is null. The starts of the source aren't read when they are what is left out, since they need not be those of its
/// columns any more; what is stored isn't known then, and nzmax elements are copied. Raises std::bad_alloc.
data_copy copy_data_without(const ndArray_tag* source, index_vector left_out);

/// New slots over the elements of a container: plain ones get one owner more, those that can hold references become shared
/// copies. Raises std::bad_alloc; the elements are then unchanged.
data_copy copy_slots_shallow(const ndArray_tag* source, const ndArray_tag* holder);

/// Stores blocks that the library owns. The blocks that the array had are not freed.
void put_data(ndArray_tag* array, const data_blocks& blocks) noexcept;

} // namespace matrix::internal
