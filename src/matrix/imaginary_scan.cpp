// The scan for imaginary parts, once for each element type.
#include "matrix/imaginary_scan.hpp"

#include "matrix/class_table.hpp"

#include <numcore/query.hpp>

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

bool any_imaginary_part(std::int32_t class_id, const void* elements, std::size_t count) {
    bool found = false;
    with_element_type(class_id, [&]<class Row>(Row) {
        found = scan(static_cast<const element<typename Row::type>*>(elements), count);
    });
    return found;
}

} // namespace matrix::internal
