/*
 * quake_rings: earthquakes by their distance from a place.
 *
 *   inputs  n x 3 or wider: latitude, longitude (degrees), depth (km), perhaps magnitude; then latitude and longitude of the
 *           place, and how wide a ring is (km)
 *   output  one row a ring, as far as there are earthquakes: from (km), to (km), how many, mean depth, greatest depth, and the
 *           greatest magnitude when there is that column; NaN where a ring is empty
 *
 * An addon in C++: it holds arrays by owning pointers, and raises errors with identifiers of its own.
 */
#include <nd/engine.hpp>
#include <nd/nd.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <limits>
#include <vector>

namespace {

using matrix::detail::noninlined::nd_array_api::ndErrMsgIdAndTxt;

constexpr double earth_radius = 6371.0; // km, the mean one
constexpr std::size_t most_rings = 10000;

double radians(double degrees) { return degrees * (3.14159265358979323846 / 180.0); }

// Distance on the sphere in km. The haversine form keeps its digits for places close to each other.
double distance(double latitude1, double longitude1, double latitude2, double longitude2) {
    const double across = std::sin(radians(latitude2 - latitude1) / 2);
    const double along = std::sin(radians(longitude2 - longitude1) / 2);
    const double chord =
        across * across + std::cos(radians(latitude1)) * std::cos(radians(latitude2)) * along * along;
    return 2 * earth_radius * std::asin(std::min(1.0, std::sqrt(chord)));
}

struct ring {
    double count = 0;
    double depth_sum = 0;
    double deepest = -std::numeric_limits<double>::infinity();
    double strongest = -std::numeric_limits<double>::infinity();
};

// Columns of the quakes as the array holds them, each n long; magnitude may be null.
struct quakes {
    std::size_t n;
    const double* latitude;
    const double* longitude;
    const double* depth;
    const double* magnitude;
};

quakes checked_quakes(const ndArray_tag* array) {
    const double* x = ndGetDoubles(array);
    const std::size_t columns = ndGetN(array);
    if (x == nullptr || ndIsSparse(array) || columns < 3) {
        ndErrMsgIdAndTxt("quake_rings:table",
                         "The first input must be a real matrix of latitude, longitude and depth, but "
                         "is a %s with %zu columns.",
                         ndGetClassName(array), columns);
    }
    const std::size_t n = ndGetM(array);
    return {n, x, x + n, x + 2 * n, columns > 3 ? x + 3 * n : nullptr};
}

double checked_scalar(const ndArray_tag* array, const char* what) {
    const double* x = ndGetDoubles(array);
    if (x == nullptr || ndGetNumberOfElements(array) != 1 || !std::isfinite(*x)) {
        ndErrMsgIdAndTxt("quake_rings:number", "The %s must be one finite number.", what);
    }
    return *x;
}

std::vector<ring> sort_into_rings(const quakes& data, double latitude, double longitude, double width) {
    std::vector<ring> rings;
    for (std::size_t i = 0; i < data.n; ++i) {
        const double place = distance(latitude, longitude, data.latitude[i], data.longitude[i]) / width;
        if (!(place < static_cast<double>(most_rings))) { // NaN too
            ndErrMsgIdAndTxt("quake_rings:far", "Row %zu lies beyond %zu rings, or its place isn't known.",
                             i + 1, most_rings);
        }
        const auto index = static_cast<std::size_t>(place);
        if (index >= rings.size()) {
            rings.resize(index + 1);
        }
        ring& here = rings[index];
        here.count += 1;
        here.depth_sum += data.depth[i];
        here.deepest = std::max(here.deepest, data.depth[i]);
        if (data.magnitude != nullptr) {
            here.strongest = std::max(here.strongest, data.magnitude[i]);
        }
    }
    return rings;
}

matrix::array_ptr table_of(const std::vector<ring>& rings, double width, bool with_magnitude) {
    const std::array<std::size_t, 2> dims{rings.size(), with_magnitude ? 6U : 5U};
    matrix::array_ptr table = matrix::create(dims, ndDOUBLE_CLASS, ndREAL);
    double* column = ndGetDoubles(table.get());
    const auto nan = std::numeric_limits<double>::quiet_NaN();
    for (std::size_t i = 0; i < rings.size(); ++i) {
        const ring& r = rings[i];
        const bool empty = r.count == 0;
        const std::array<double, 6> row{static_cast<double>(i) * width,
                                        static_cast<double>(i + 1) * width,
                                        r.count,
                                        empty ? nan : r.depth_sum / r.count,
                                        empty ? nan : r.deepest,
                                        empty ? nan : r.strongest};
        for (std::size_t j = 0; j < dims[1]; ++j) {
            column[j * rings.size() + i] = row[j];
        }
    }
    return table;
}

} // namespace

ND_ADDON_FUNCTION;

void ndAddonFunction(int nlhs, ndArray_tag* plhs[], int nrhs, const ndArray_tag* prhs[]) {
    if (nrhs != 4 || nlhs > 1) {
        ndErrMsgIdAndTxt(
            "quake_rings:call",
            "Give the table, latitude, longitude and the width of a ring; one output comes back.");
    }
    const quakes data = checked_quakes(prhs[0]);
    const double latitude = checked_scalar(prhs[1], "latitude");
    const double longitude = checked_scalar(prhs[2], "longitude");
    const double width = checked_scalar(prhs[3], "width of a ring");
    if (width <= 0) {
        ndErrMsgIdAndTxt("quake_rings:width", "The width of a ring must be above 0, but is %g.", width);
    }
    const std::vector<ring> rings = sort_into_rings(data, latitude, longitude, width);
    plhs[0] = table_of(rings, width, data.magnitude != nullptr).release();
}
