#include "engine_session.hpp"

#include "failure.hpp"
#include "utf8.hpp"

#include <algorithm>
#include <cstdio>
#include <exception>
#include <new>
#include <string>

namespace nd_host {

namespace {

// Slots behind those that were asked for: an addon that fills too many is told so, instead of overwriting what is not its own.
constexpr std::size_t spare_slots = 64;

[[noreturn]] void broken(const addon& function, const std::string& what) {
    throw failure(exit_status::broken_outputs, function.path() + ": " + what);
}

// What the addon threw, as a failure. Called within a catch block.
[[noreturn]] void raise_as_failure() {
    try {
        throw;
    } catch (const foundation::core::except::IUserException& error) {
        throw failure(exit_status::error_raised, std::string(error.GetID()) + ": " + error.what());
    } catch (const std::bad_alloc&) {
        throw failure(exit_status::error_raised, "TARVEL:nomem: out of memory");
    } catch (const std::exception& error) {
        throw failure(exit_status::foreign_exception,
                      std::string("the addon threw a C++ exception: ") + error.what());
    } catch (...) {
        throw failure(exit_status::foreign_exception,
                      "the addon threw something that is no C++ exception class");
    }
}

// What stands in the slots, owned. trouble tells of an array that has an owner already, as an input or in a slot before; it is
// left to that owner.
struct taken_outputs {
    std::vector<matrix::array_ptr> arrays;
    std::string trouble;
};

taken_outputs take_outputs(const std::vector<ndArray_tag*>& slots,
                           const std::vector<const ndArray_tag*>& inputs) {
    taken_outputs taken{std::vector<matrix::array_ptr>(slots.size()), {}};
    for (auto slot = slots.begin(); slot != slots.end(); ++slot) {
        if (*slot == nullptr) {
            continue;
        }
        const auto place = static_cast<std::size_t>(slot - slots.begin());
        const std::string name = "output " + std::to_string(place + 1);
        if (std::find(inputs.begin(), inputs.end(), *slot) != inputs.end()) {
            taken.trouble = name + " is an input itself; an addon puts out a copy";
        } else if (std::find(slots.begin(), slot, *slot) != slot) {
            taken.trouble = name + " is the same array as an output before it";
        } else {
            taken.arrays[place].reset(*slot);
        }
    }
    return taken;
}

} // namespace

engine_session::engine_session(matrix::Mode mode) {
    matrix::initModule(mode);
    matrix::setWarningHandler(
        [](const std::u16string& line) { std::fprintf(stderr, "nd: %s\n", utf8(line).c_str()); });
}

std::vector<matrix::array_ptr> engine_session::call(const addon& function, int nlhs,
                                                    const std::vector<matrix::array_ptr>& inputs) const {
    std::vector<const ndArray_tag*> prhs;
    prhs.reserve(inputs.size());
    for (const matrix::array_ptr& input : inputs) {
        prhs.push_back(input.get());
    }
    const auto allowed = static_cast<std::size_t>(std::max(nlhs, 1));
    std::vector<ndArray_tag*> plhs(allowed + spare_slots, nullptr);
    try {
        function.entry()(nlhs, plhs.data(), static_cast<int>(prhs.size()), prhs.data());
    } catch (...) {
        take_outputs(plhs, prhs);
        raise_as_failure();
    }
    auto [outputs, trouble] = take_outputs(plhs, prhs);
    if (!trouble.empty()) {
        broken(function, trouble);
    }
    for (std::size_t i = allowed; i < outputs.size(); ++i) {
        if (outputs[i]) {
            broken(function, "more outputs than the " + std::to_string(nlhs) + " asked for");
        }
    }
    for (std::size_t i = 0; i < static_cast<std::size_t>(nlhs); ++i) {
        if (!outputs[i]) {
            broken(function, "output " + std::to_string(i + 1) +
                                 " was not set: the addon didn't take its inputs, or had no memory");
        }
    }
    outputs.resize(outputs.front() ? allowed : 0); // without a first output, nlhs is 0 and there is no answer
    return std::move(outputs);
}

} // namespace nd_host
