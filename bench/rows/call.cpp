// What the way into libnd costs: an exported stub beside a bare function of a shared library.
#include "rows/rows.hpp"

#include "harness/meters.hpp"
#include "rows/works.hpp"

#include <memory>

namespace bench {

row_list call_rows() {
    const std::shared_ptr<ndArray_tag> array(ndCreateDoubleMatrix(1, 1, ndREAL), ndDestroyArray);
    const std::shared_ptr<limit_array> limit(limit_create_zero(1, 1), limit_destroy);
    return {{.work = "call_stub",
             .size = "1x1",
             .limit_name = "shared-library-call",
             .libnd = timed([array] { ndIsDouble(array.get()); }),
             .limit = timed([limit] { limit_is_double(limit.get()); })}};
}

} // namespace bench
