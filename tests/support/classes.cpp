// Lists of classes for tests.
#include "support/classes.hpp"

namespace test {
namespace {

using matrix::internal::class_row;

bool belongs(const class_row& row, class_set set, bool complex) {
    const bool has_bytes = matrix::internal::has_plain_elements(row.id) && row.real_size != 0;
    switch (set) {
    case class_set::all:
        return !complex;
    case class_set::numeric:
        return row.numeric;
    case class_set::with_bytes:
        return has_bytes && (!complex || row.numeric);
    case class_set::containers:
        return row.container && !complex;
    }
    return false;
}

class_case case_of(const class_row& row, bool complex) {
    const auto code = matrix::internal::code_of(row.id, complex);
    return {row.id, complex ? ndCOMPLEX : ndREAL, std::string(complex ? "complex " : "") + row.name,
            matrix::internal::element_size(code)};
}

} // namespace

std::vector<class_case> classes_of(class_set set) {
    std::vector<class_case> cases;
    for (const class_row& row : matrix::internal::class_rows) {
        for (const bool complex : {false, true}) {
            if (belongs(row, set, complex)) cases.push_back(case_of(row, complex));
        }
    }
    return cases;
}

} // namespace test
