// The refusals of a dispatch over element types, and the counts that its views need.
#include <nd/typed.hpp>

#include <nd/access.hpp>

#include <stdexcept>
#include <string>

namespace matrix {

void rejectArrayShape(std::size_t ndims, const char* typeName) {
    throw std::invalid_argument("Array with " + std::to_string(ndims) +
                                " dimensions not compatible with shape of " + typeName);
}

void rejectClassId(const char* typeName, ndClassID classId) {
    throw std::invalid_argument(std::string("Functor ") + typeName + " does not accept ndClassID " +
                                std::to_string(static_cast<int>(classId)));
}

void rejectInvalidClassId(ndClassID classId) {
    throw std::invalid_argument(std::string("Unknown or invalid ndClassID: ") +
                                detail::noninlined::nd_array_api::ndArrayClassIDName(classId) + " (" +
                                std::to_string(static_cast<int>(classId)) + ")");
}

std::size_t detail::count_elements(const ndArray_tag* array) {
    return noninlined::nd_array_api::ndGetNumberOfElements(array);
}

std::size_t detail::count_dimensions(const ndArray_tag* array) {
    return noninlined::nd_array_api::ndGetNumberOfDimensions(array);
}

} // namespace matrix
