// odd_values: results as few functions make them.
#include <nd/engine.hpp>
#include <nd/nd.h>

ND_ADDON_FUNCTION;

namespace {

namespace nd_array_api = matrix::detail::noninlined::nd_array_api;

// rows by columns elements that nobody gave data.
ndArray_tag* without_data(ndArray_tag* empty, std::size_t rows, std::size_t columns) {
    nd_array_api::ndSetM(empty, rows);
    nd_array_api::ndSetN(empty, columns);
    return empty;
}

ndArray_tag* in_a_cell(ndArray_tag* element) {
    ndArray_tag* const cell = nd_array_api::ndCreateCellMatrix(1, 1);
    nd_array_api::ndSetCell(cell, 0, element);
    return cell;
}

ndArray_tag* struct_without_data() {
    const char* names[] = {"a"};
    return without_data(nd_array_api::ndCreateStructMatrix(0, 0, 1, names), 1, 2);
}

} // namespace

/* A number says which. */
extern "C" void ndAddonFunction(int, ndArray_tag* plhs[], int, const ndArray_tag* prhs[]) {
    switch (static_cast<int>(nd_array_api::ndGetScalar(prhs[0]))) {
    case 1:
        plhs[0] = nd_array_api::ndCreateColonObj(1, 1, 5);
        return;
    case 2:
        plhs[0] = without_data(nd_array_api::ndCreateDoubleMatrix(0, 0, ndREAL), 1, 1);
        return;
    case 3:
        plhs[0] = without_data(nd_array_api::ndCreateDoubleMatrix(0, 0, ndCOMPLEX), 1, 1);
        return;
    case 4:
        plhs[0] = without_data(nd_array_api::ndCreateCellMatrix(0, 0), 1, 2);
        return;
    case 5:
        plhs[0] = struct_without_data();
        return;
    case 6:
        plhs[0] = in_a_cell(without_data(nd_array_api::ndCreateDoubleMatrix(0, 0, ndREAL), 1, 1));
        return;
    case 7:
        plhs[0] = in_a_cell(without_data(nd_array_api::ndCreateCellMatrix(0, 0), 1, 2));
        return;
    default:
        return;
    }
}
