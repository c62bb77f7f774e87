// The library tells a depth to those who open a context: that is how it's asked here.
#include "list_contexts.hpp"

#include <new>

namespace nd_host {

namespace {

using arrays = std::vector<ndArray_tag*>;

int array_depth() {
    const int inner = matrix::ndEnterNewArrayListContext();
    if (inner == 0) {
        return 0;
    }
    matrix::popArrayListContext({}, true);
    return inner - 1;
}

int block_depth() {
    const int inner = matrix::ndEnterNewAllocListContext();
    if (inner == 0) {
        return 0;
    }
    matrix::popAllocListContext();
    return inner - 1;
}

void pop_keeping(arrays& kept) {
    matrix::popArrayListContext({kept.data(), kept.data() + kept.size()}, true);
}

// Closes the current context, whose arrays go to the outer one.
void fold_arrays(arrays& slots) noexcept {
    try {
        arrays all;
        for (const matrix::listed_array& listed : matrix::listCurrentArrays()) {
            all.push_back(const_cast<ndArray_tag*>(listed.array));
        }
        pop_keeping(all);
    } catch (const std::bad_alloc&) {
        pop_keeping(slots);
    }
}

} // namespace

list_contexts::list_contexts() : arrays_(array_depth()), blocks_(block_depth()) {}

// Up to the depth noted, opening a context needs no memory: there was one more before. So where asking fails, one is open too many.
context_changes list_contexts::bring_back(std::vector<ndArray_tag*>& slots) const noexcept {
    context_changes changes;
    const auto close_block_context = [&] {
        changes.freed = changes.freed || !matrix::isAllocListContextEmpty();
        matrix::popAllocListContext();
        ++changes.blocks;
    };
    const auto close_array_context = [&] {
        fold_arrays(slots);
        ++changes.arrays;
    };
    const auto difference = [](int (*depth)(), int noted, const auto& close) {
        try {
            return depth() - noted;
        } catch (const std::bad_alloc&) {
            close();
            return depth() - noted;
        }
    };
    int open_arrays = difference(array_depth, arrays_, close_array_context);
    for (; open_arrays > 0; --open_arrays) {
        close_array_context();
    }
    for (; open_arrays < 0; ++open_arrays) {
        matrix::pushArrayListContext();
        --changes.arrays;
    }
    int open_blocks = difference(block_depth, blocks_, close_block_context);
    for (; open_blocks > 0; --open_blocks) {
        close_block_context();
    }
    for (; open_blocks < 0; ++open_blocks) {
        matrix::pushAllocListContext();
        --changes.blocks;
    }
    return changes;
}

} // namespace nd_host
