// A program in C++20 that uses the installed library through nd/nd.h and nd/engine.hpp in one file, once for each generation.
#include <nd/engine.hpp>
#include <nd/nd.h>

#include <array>
#include <cstddef>
#include <cstdio>
#include <string>
#include <type_traits>

using size_of_generation = std::conditional_t<ND_API == 700, int, kvSize>;
static_assert(std::is_same_v<decltype(ndGetDimensions(nullptr)), const size_of_generation*>);

int main() {
    foundation::usm::EngineInstance engine;
    const foundation::usm::EngineActivation active(&engine);
    matrix::initModule(matrix::mode_in_engine);
    const matrix::array_ptr array =
        matrix::create(std::array<std::size_t, 3>{2, 3, 4}, ndINT16_CLASS, ndREAL);
    if (ndGetNumberOfDimensions(array.get()) != 3 || ndGetDimensions(array.get())[2] != 4) {
        return 1;
    }
    std::printf("%d %08x %s %d\n", ND_API, static_cast<unsigned>(ND_INTERFACE_VERSION),
                ndGetClassName(array.get()), static_cast<int>(ndGetNumberOfElements(array.get())));
    try {
        ndCreateNumericMatrix(1, 1, static_cast<ndClassID>(99), ndREAL);
    } catch (const foundation::core::except::IUserException& error) {
        return std::string(error.GetID()) == "TARVEL:badargs" ? 0 : 2;
    }
    return 3;
}
