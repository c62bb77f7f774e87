// A shared copy and its release, of arrays of several sizes: no element is touched, so the size should make no difference.
#include "rows/rows.hpp"

#include "harness/meters.hpp"
#include "rows/works.hpp"

#include <memory>

namespace bench {
namespace {

row share_release(const char* name, shape size) {
    const std::shared_ptr<ndArray_tag> array(ndCreateDoubleMatrix(size.m, size.n, ndREAL), ndDestroyArray);
    // The limit's array stands for any size: its block is never looked at.
    const std::shared_ptr<limit_array> limit(limit_create_raw(1, 1), limit_destroy);
    return {.work = "share_release",
            .size = name,
            .limit_name = "freelist-hdr,atomic-count",
            .libnd = timed([array] { ndDestroyArray(ndCreateSharedDataCopy(array.get())); }),
            .limit = timed([limit] { limit_release(limit_share(limit.get())); })};
}

} // namespace

row_list sharing_rows() {
    return {share_release("1x1", {1, 1}), share_release("3x4", {3, 4}), share_release("1000", {1000, 1}),
            share_release("1e6", million)};
}

} // namespace bench
