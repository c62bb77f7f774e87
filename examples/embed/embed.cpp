/*
 * embed: the least that a program needs to be an engine of libnd: engine scope, start-up, arrays, errors.
 *
 * It makes a matrix, fills it, prints its column sums, and shows how an error of the library arrives. tools/nd in libnd's
 * source tree adds to this the loading of addon functions.
 */
#include <nd/engine.hpp>
#include <nd/nd.h>

#include <array>
#include <cstddef>
#include <cstdio>
#include <exception>

namespace {

void print_column_sums(const ndArray_tag* array) {
    const double* element = ndGetDoubles(array);
    for (std::size_t column = 0; column < ndGetN(array); ++column) {
        double sum = 0;
        for (std::size_t row = 0; row < ndGetM(array); ++row) {
            sum += *element++;
        }
        std::printf("column %zu: %g\n", column + 1, sum);
    }
}

void work() {
    // matrix::create gives an owning pointer: whatever happens, the array ends with it.
    const matrix::array_ptr array = matrix::create(std::array<std::size_t, 2>{3, 4}, ndDOUBLE_CLASS, ndREAL);
    double* element = ndGetDoubles(array.get());
    for (std::size_t i = 0; i < ndGetNumberOfElements(array.get()); ++i) {
        element[i] = static_cast<double>(i);
    }
    print_column_sums(array.get());

    // More elements than an array may have: in mode 1 the C functions raise, too.
    ndDestroyArray(ndCreateDoubleMatrix(std::size_t{1} << 40U, std::size_t{1} << 40U, ndREAL));
}

} // namespace

int main() {
    foundation::usm::EngineInstance engine;                  // owns what the library keeps for this engine
    const foundation::usm::EngineActivation active(&engine); // makes it the engine of this thread
    matrix::initModule(matrix::mode_in_engine);              // once in a process
    try {
        work();
    } catch (const foundation::core::except::IUserException& error) {
        std::printf("%s: %s\n", std::string(error.GetID()).c_str(), error.what());
        return 0; // the error above was asked for
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
    }
    return 1;
}
