#include "engine_session.hpp"

#include "failure.hpp"
#include "utf8.hpp"

#include <cstdio>
#include <string>

namespace nd_host {

void start_library(matrix::Mode mode) {
    matrix::initModule(mode);
    matrix::setWarningHandler(
        [](const std::u16string& line) { std::fprintf(stderr, "nd: %s\n", utf8(line).c_str()); });
}

std::vector<matrix::array_ptr> engine_session::call(const addon& function, int nlhs,
                                                    const std::vector<matrix::array_ptr>& inputs,
                                                    const forgotten_observer& observer) {
    const foundation::usm::EngineActivation mine(&engine_); // another session may have been opened since
    try {
        std::vector<const ndArray_tag*> prhs;
        prhs.reserve(inputs.size());
        for (const matrix::array_ptr& input : inputs) {
            prhs.push_back(input.get());
        }
        auto outputs = call_addon(function, nlhs, prhs, observer);
        for (const matrix::array_ptr& output : outputs) { // off the list: they are the caller's alone
            matrix::detail::noninlined::nd_array_api::ndSetArrayScope(output.get(), ndLOCAL_SCOPE);
        }
        return outputs;
    } catch (...) {
        throw failure_of_call();
    }
}

} // namespace nd_host
