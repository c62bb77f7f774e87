// The elements of containers, at any depth, for the question how many slots hold an array.
#ifndef ND_TOOLS_ELEMENTS_HPP
#define ND_TOOLS_ELEMENTS_HPP

#include <nd/array.hpp>

#include <cstddef>
#include <unordered_set>
#include <vector>

namespace nd_host {

class element_index {
public:
    /// Adds what stands in the slots of array, and in theirs. Slots that several headers share count once. Raises std::bad_alloc.
    void add(const ndArray_tag* array);

    /// To be called when all are added.
    void sort();

    /// In how many slots array stands.
    std::size_t slots_with(const ndArray_tag* array) const noexcept;

private:
    std::unordered_set<const void*> blocks_; // whose slots are in elements_
    std::vector<const ndArray_tag*> elements_;
};

} // namespace nd_host

#endif
