// The test of a list of field names: each by itself first, then against the others.
#include "errors/raise.hpp"

#include <nd/containers.hpp>
#include <nd/names.hpp>

#include <algorithm>
#include <cstring>
#include <vector>

namespace matrix {

void check_field_name_set(std::span<const char* const> names) {
    namespace api = detail::noninlined::nd_array_api;
    for (const char* const name : names) {
        if (!api::ndIsValidRecName(name))
            errors::raise<TARVEL::Cell2Struct::InvalidFieldName>(name == nullptr ? "" : name);
    }
    std::vector<const char*> sorted(names.begin(), names.end());
    std::sort(sorted.begin(), sorted.end(),
              [](const char* a, const char* b) { return std::strcmp(a, b) < 0; });
    const auto twice = std::adjacent_find(
        sorted.begin(), sorted.end(), [](const char* a, const char* b) { return std::strcmp(a, b) == 0; });
    if (twice != sorted.end()) errors::raise<TARVEL::legacy_two_part::DuplicateFieldName>(*twice);
}

} // namespace matrix
