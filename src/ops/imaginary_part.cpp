// The scan for imaginary parts and the move of the real ones, once for each element type.
#include "ops/imaginary_part.hpp"

#include "matrix/class_table.hpp"
#include "matrix/dimensions.hpp"

#include <numcore/query.hpp>

#include <complex>

namespace matrix::internal {
namespace {

// Parts of an element, as they lie. std::complex is told for floating point only; this has its layout for every class.
template <class T>
struct element {
    T real;
    T imaginary;
};

// From this many elements on a scan may use several threads. A longer array is asked about its front first: an imaginary part
// is mostly found there, and finding it shouldn't start tasks.
constexpr std::size_t parallel_from = 25600;
constexpr std::size_t front = 6144;
constexpr std::size_t parallel_behind_front = 19456;

template <class T>
bool scan(const element<T>* first, std::size_t count) {
    const auto ask = [](const element<T>* begin, const element<T>* end, std::size_t threshold) {
        return numcore_util::query(
            begin, end, [](const element<T>& z) noexcept { return z.imaginary != T(0); }, false, 0, threshold,
            numcore_util::perf_options::check_for_cancellation<0>{});
    };
    const element<T>* const last = first + count;
    if (count <= parallel_from) return ask(first, last, parallel_from);
    return ask(first, first + front, parallel_behind_front) ||
           ask(first + front, last, parallel_behind_front);
}

} // namespace

bool has_imaginary_part(const ndArray_tag* array) {
    bool found = false;
    with_element_type(array->class_id, [&]<class Row>(Row) {
        using T = typename Row::type;
        found = scan(static_cast<const element<T>*>(array->pdata), element_count(array));
    });
    return found;
}

void drop_imaginary_part(ndArray_tag* array) noexcept {
    with_element_type(array->class_id, [&]<class Row>(Row) {
        auto* const parts = static_cast<typename Row::type*>(array->pdata);
        const std::size_t count = array->pdata == nullptr ? 0 : element_count(array);
        for (std::size_t i = 0; i < count; ++i) parts[i] = parts[2 * i];
    });
    array->flags &= ~flag_complex;
}

} // namespace matrix::internal
