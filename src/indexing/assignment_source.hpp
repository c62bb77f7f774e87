// The array that values are taken from, brought to a form in which they lie as elements.
#pragma once

#include <nd/array.hpp>
#include <nd/create.hpp>

#include <boost/smart_ptr/intrusive_ptr.hpp>

namespace matrix::internal {

/// A full array with current data: the one given where it is so, else a copy. A colon object becomes the vector that it stands for;
/// elements without data are zeros. It lives as long as this, also where it stands in a slot of the array that changes.
class assignment_source {
public:
    /// not_this: an array that is going to change; it is copied deeply when it is given. Raises as a creator does.
    assignment_source(const ndArray_tag* given, const ndArray_tag* not_this);

    const ndArray_tag* get() const noexcept { return array_; }

private:
    const ndArray_tag* array_;
    array_ptr held_;
    boost::intrusive_ptr<ndArray_tag> made_;
};

/// One owner more of a container that may stand in a slot of changing, with which it would end. Null where nothing of it can.
array_ptr held_for_change(const ndArray_tag* source, const ndArray_tag* changing) noexcept;

} // namespace matrix::internal
