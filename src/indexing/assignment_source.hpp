// The array that values are taken from, brought to a form in which they lie as elements.
#pragma once

#include <nd/array.hpp>
#include <nd/create.hpp>

#include <boost/smart_ptr/intrusive_ptr.hpp>

namespace matrix::internal {

/// A full array with current data: the one given where it is so, else a copy. A colon object becomes the vector that it stands for;
/// elements without data are zeros.
class assignment_source {
public:
    /// not_this: an array that is going to change; it is copied deeply when it is given. Raises as a creator does.
    assignment_source(const ndArray_tag* given, const ndArray_tag* not_this);

    const ndArray_tag* get() const noexcept { return array_; }

private:
    const ndArray_tag* array_;
    boost::intrusive_ptr<ndArray_tag> made_;
};

} // namespace matrix::internal
