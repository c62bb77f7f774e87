// The reference model: what an array is, written slowly and obviously, with nothing shared with the library but the names of the
// classes.
//
// A model array stands for one header. Its block is counted by std::shared_ptr: headers over one block point at one block, so the
// number of sharers is the pointer's use count. Bytes are bytes: a block keeps them whatever class looks at it.
#pragma once

#include <nd/array.hpp>

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace model {

using dims = std::vector<std::size_t>;

/// What a header stores for the dimensions it is given: at least two, and no 1 at the end beyond the second.
dims stored_dims(dims given);

std::size_t count_of(const dims& shape);

/// Bytes of an element of a class with plain elements.
std::size_t element_size(ndClassID class_id, bool complex);

struct block {
    std::vector<std::byte> bytes;
};

struct array {
    ndClassID class_id = ndUNKNOWN_CLASS;
    bool complex = false;
    dims shape{0, 0};
    std::shared_ptr<block> data; ///< null for an array that never had bytes
    unsigned owners = 1;         ///< of the header
    bool joined = false;         ///< the block was shared at some time: the hint that stays behind
    bool scalar_double = false;
    bool reusable = false;
    unsigned user_bits = 0;

    std::size_t count() const { return count_of(shape); }
    std::size_t element_bytes() const { return element_size(class_id, complex); }
    std::size_t byte_count() const { return count() * element_bytes(); }

    /// Replaces the dimensions and leaves the bytes alone.
    void set_dimensions(const dims& given);

    /// The flag word that a header of this value has.
    std::uint32_t flags() const;

    /// Where the real array isn't what this model says; empty when it is.
    std::string difference_from(const ndArray_tag* real) const;
};

/// A new array of zeros.
array zeros(ndClassID class_id, bool complex, const dims& given);

/// A new header over the same block; source's header learns of it.
array shared_copy(array& source);

/// A new header with a block of its own, as long as the elements need.
array deep_copy(const array& source);

/// Gives the header's block up for one of its own, as long as the elements need, when others use it.
void unshare(array& header);

/// What a conversion makes of source: a new header, whose block is source's where zeros and ones become logicals.
struct conversion {
    enum class outcome { made, none, raises } how = outcome::none;
    array made;
};
conversion converted_copy(array& source, ndClassID target);

/// dest's header takes over src's value, whose header has one owner and ends.
void move_onto(array& dest, array& src);

} // namespace model
