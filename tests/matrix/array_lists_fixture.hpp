// What the tests of the array list share: closing contexts, and seeing which arrays end.
#pragma once

#include "matrix/header_watch.hpp"
#include "matrix/lists_fixture.hpp"

#include <nd/create.hpp>

#include <algorithm>
#include <initializer_list>

namespace test {

inline void pop_all() { matrix::popArrayListContext({}, true); }

inline void pop_keeping(std::vector<ndArray_tag*> keep) {
    matrix::popArrayListContext({keep.data(), keep.data() + keep.size()}, true);
}

class ArrayLists : public ListsTest {
protected:
    /// The arrays whose headers ended since the last forget_ended(), in order.
    array_pointers ended() const {
        const auto& headers = headers_.freed_headers();
        array_pointers at;
        for (std::size_t i = forgotten_; i < headers.size(); ++i)
            at.push_back(static_cast<const ndArray_tag*>(headers[i].at));
        return at;
    }
    void forget_ended() { forgotten_ = headers_.freed_headers().size(); }

private:
    header_watch headers_;
    std::size_t forgotten_ = 0;
};

/// A cell on the list whose elements are these.
inline ndArray_tag* temporary_cell(std::initializer_list<ndArray_tag*> elements) {
    matrix::array_ptr cell = matrix::create_cell(std::vector<std::size_t>{1, elements.size()});
    std::copy(elements.begin(), elements.end(), static_cast<ndArray_tag**>(cell->pdata));
    api::ndSetArrayScope(cell.get(), ndTEMPORARY_SCOPE);
    return cell.release();
}

} // namespace test
