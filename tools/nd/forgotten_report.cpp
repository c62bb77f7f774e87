#include "forgotten_report.hpp"

#include "array_view.hpp"

namespace nd_host {

namespace {

// Everything up to limit, else the first head and the last tail.
constexpr std::size_t limit = 20;
constexpr std::size_t head = 15;
constexpr std::size_t tail = 4;

std::string contexts_text(const std::string& begin, int count, const char* list) {
    if (count == 0) {
        return {};
    }
    const std::string contexts = count == 1 ? "a context" : std::to_string(count) + " contexts";
    return begin + "left " + contexts + " of the " + list + " open\n";
}

} // namespace

std::string forgotten_text(const forgotten& found, bool whole) {
    const std::string begin = "nd: " + found.function + ": ";
    const std::size_t count = found.arrays.size();
    if (count == 0 && !found.blocks && found.array_contexts == 0 && found.block_contexts == 0) {
        return begin + "nothing forgotten\n";
    }
    std::string text;
    if (count != 0) {
        text = begin + "forgot " + std::to_string(count) + (count == 1 ? " array\n" : " arrays\n");
    }
    const bool cut = !whole && count > limit;
    for (std::size_t i = 0; i < count; ++i) {
        if (cut && i == head) {
            text += "nd:   ...\n";
            i = count - tail;
        }
        const matrix::listed_array& listed = found.arrays[i];
        text += "nd:   serial " + std::to_string(listed.serial) + ": " +
                array_view(*listed.array).description() + "\n";
    }
    if (found.blocks) {
        text += begin + "forgot memory of ndMalloc, ndCalloc or ndRealloc\n";
    }
    text += contexts_text(begin, found.array_contexts, "array list");
    text += contexts_text(begin, found.block_contexts, "alloc list");
    return text;
}

} // namespace nd_host
