// The call in its brackets, and ndCallAddon, by which a function that is being called calls another.
#include "addon_call.hpp"

#include "failure.hpp"
#include "lent_inputs.hpp"
#include "list_contexts.hpp"
#include "outputs.hpp"

#include <nd/host.h>

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <optional>
#include <utility>

namespace nd_host {

namespace {

using matrix::detail::noninlined::nd_array_api::ndErrMsgIdAndTxt;

// Slots behind those that were asked for: an addon that fills too many is told so, instead of overwriting what is not its own.
constexpr std::size_t spare_slots = 64;

constexpr int most_values = 1000000; // results of a call within a call, and arguments: more are a mistake

constexpr int deepest_call = 256; // functions that run one within the other; the stack has room for far more

// The functions that are running on this thread, innermost first.
class running_call {
public:
    running_call(const addon& function, const forgotten_observer& observer)
        : function_(function),
          observer_(observer),
          outer_(innermost_),
          depth_(outer_ ? outer_->depth_ + 1 : 1) {
        static const bool told = std::atexit(tell_end_of_process) == 0;
        static_cast<void>(told); // else it ends without a word
        innermost_ = this;
    }
    ~running_call() { innermost_ = outer_; }
    running_call(const running_call&) = delete;
    running_call& operator=(const running_call&) = delete;

    static const running_call* innermost() noexcept { return innermost_; }
    const addon& function() const noexcept { return function_; }
    const forgotten_observer& observer() const noexcept { return observer_; }
    int depth() const noexcept { return depth_; }

private:
    // A function that ends the process must not look like one that returned.
    static void tell_end_of_process() {
        if (innermost_ != nullptr) {
            std::fprintf(stderr, "nd: %s: the addon ended the process\n",
                         innermost_->function_.name().c_str());
            std::fflush(nullptr);
            std::_Exit(static_cast<int>(exit_status::broken_outputs));
        }
    }

    static thread_local const running_call* innermost_;
    const addon& function_;
    const forgotten_observer& observer_;
    const running_call* outer_;
    int depth_;
};
thread_local const running_call* running_call::innermost_ = nullptr;

std::size_t slots_allowed(int nlhs) { return static_cast<std::size_t>(std::max(nlhs, 1)); }

// What a call came to, once the function has returned.
struct finished_call {
    taken_outputs outputs;
    std::optional<broken_input> input;
    context_changes contexts;
};

// Runs the function and puts the contexts right, however it ends. Where it closed one of its caller's besides its own, the arrays
// there are gone, and inputs may have been among them.
context_changes run_entry(const addon& function, int nlhs, std::vector<ndArray_tag*>& plhs,
                          std::vector<const ndArray_tag*>& prhs, lent_inputs& lent,
                          lent_temporaries& temporaries) {
    const list_contexts contexts;
    const auto put_right = [&] {
        const context_changes changes = contexts.bring_back(plhs);
        if (changes.arrays < -1) {
            lent.forget_temporaries();
            temporaries.forget();
        }
        return changes;
    };
    try {
        function.entry()(nlhs, plhs.data(), static_cast<int>(prhs.size()), prhs.data());
    } catch (...) {
        put_right();
        throw;
    }
    return put_right();
}

// After an error nothing is taken: what the function left on the list ends with the brackets.
finished_call run(const addon& function, int nlhs, const std::vector<const ndArray_tag*>& inputs,
                  lent_temporaries& temporaries) {
    std::vector<const ndArray_tag*> prhs = inputs; // the function may write to its argument vector
    std::vector<ndArray_tag*> plhs(slots_allowed(nlhs) + spare_slots, nullptr);
    finished_call call{taken_outputs(plhs.size(), inputs), {}, {}};
    lent_inputs lent(inputs);
    call.contexts = run_entry(function, nlhs, plhs, prhs, lent, temporaries);
    if (call.contexts.arrays >= 0) {
        call.outputs.take(plhs);
    }
    call.input = lent.first_broken();
    return call;
}

void tell(const forgotten_observer& observer, const addon& function, const finished_call& call) {
    const context_changes& contexts = call.contexts;
    forgotten found{function.name(), matrix::listCurrentArrays(),
                    contexts.freed || !matrix::isAllocListContextEmpty(), std::max(contexts.arrays, 0),
                    std::max(contexts.blocks, 0)};
    std::vector<const ndArray_tag*> outputs;
    for (const matrix::array_ptr& output : call.outputs.arrays) {
        outputs.push_back(output.get());
    }
    std::sort(outputs.begin(), outputs.end(), std::less<>());
    const auto is_output = [&](const matrix::listed_array& listed) {
        return std::binary_search(outputs.begin(), outputs.end(), listed.array, std::less<>());
    };
    found.arrays.erase(std::remove_if(found.arrays.begin(), found.arrays.end(), is_output),
                       found.arrays.end());
    observer(found);
}

finished_call run_in_brackets(const addon& function, int nlhs, const std::vector<const ndArray_tag*>& inputs,
                              const forgotten_observer& observer) {
    const running_call running(function, observer);
    lent_temporaries temporaries(inputs);
    std::optional<matrix::arraylist_alloclist_errormode_guard> brackets(
        matrix::getErrorMode()); // the host has one mode only
    finished_call call = run(function, nlhs, inputs, temporaries);
    for (const matrix::array_ptr& output : call.outputs.arrays) {
        if (output) {
            brackets->keep(output.get());
        }
    }
    if (observer) {
        tell(observer, function, call);
    }
    const matrix::list_reports_go_on however_severe; // the host outlives what it reports
    brackets.reset();
    return call;
}

void check_call(const addon& function, int nlhs, const finished_call& call) {
    const taken_outputs& taken = call.outputs;
    const auto broken = [&](const std::string& what) {
        throw failure(exit_status::broken_outputs, function.name() + ": " + what);
    };
    const auto output = [](std::size_t place) { return "output " + std::to_string(place + 1) + " "; };
    if (call.contexts.arrays < 0 || call.contexts.blocks < 0) {
        broken(std::string("the addon closed a context of the ") +
               (call.contexts.arrays < 0 ? "array list" : "alloc list") + " that it hadn't opened");
    }
    if (call.input) {
        broken("input " + std::to_string(call.input->place + 1) + " " + call.input->what);
    }
    if (taken.why != nullptr) {
        broken(output(taken.refused) + taken.why);
    }
    for (std::size_t i = slots_allowed(nlhs); i < taken.arrays.size(); ++i) {
        if (taken.arrays[i]) {
            broken("more outputs than the " + std::to_string(nlhs) + " asked for");
        }
    }
    for (std::size_t i = 0; i < static_cast<std::size_t>(nlhs); ++i) {
        if (!taken.arrays[i]) {
            broken(output(i) + "was not set: the addon didn't take its inputs, or had no memory");
        }
    }
}

// Where a function finds another addon by name.
std::string path_beside(const std::string& caller, const std::string& name) {
    if (name.find('/') != std::string::npos) {
        return name;
    }
    return (std::filesystem::path(caller).parent_path() / (name + ".so")).string();
}

const running_call& calling_function(const char* addon, int nlhs, const void* plhs, int nrhs,
                                     const void* prhs) {
    const running_call* const caller = running_call::innermost();
    if (caller == nullptr) {
        ndErrMsgIdAndTxt("nd:callAddon:outside", "No addon function is running on this thread.");
    }
    if (caller->depth() >= deepest_call) {
        ndErrMsgIdAndTxt("nd:callAddon:depth", "%d addon functions are running, one called by the other.",
                         caller->depth());
    }
    if (nlhs < 0 || nrhs < 0 || nlhs > most_values || nrhs > most_values) {
        ndErrMsgIdAndTxt("nd:callAddon:count", "There can't be %d results and %d arguments.", nlhs, nrhs);
    }
    if (addon == nullptr || (plhs == nullptr && nlhs > 0) || (prhs == nullptr && nrhs > 0)) {
        ndErrMsgIdAndTxt("nd:callAddon:null", "There is no %s.",
                         addon == nullptr  ? "name of an addon"
                         : plhs == nullptr ? "place for the results"
                                           : "place where the arguments stand");
    }
    return *caller;
}

} // namespace

std::vector<matrix::array_ptr> call_addon(const addon& function, int nlhs,
                                          const std::vector<const ndArray_tag*>& inputs,
                                          const forgotten_observer& observer) {
    finished_call call = run_in_brackets(function, nlhs, inputs, observer);
    check_call(function, nlhs, call);
    std::vector<matrix::array_ptr> outputs = std::move(call.outputs.arrays);
    // Without a first output, nlhs is 0 and there is no answer.
    outputs.resize(outputs.front() ? slots_allowed(nlhs) : 0);
    return outputs;
}

} // namespace nd_host

void ndCallAddon(const char* addon, const char* entry, int nlhs, ndArray_tag* plhs[], int nrhs,
                 const ndArray_tag* prhs[]) {
    const nd_host::running_call& caller = nd_host::calling_function(addon, nlhs, plhs, nrhs, prhs);
    const nd_host::addon function(nd_host::path_beside(caller.function().path(), addon),
                                  entry != nullptr ? entry : nd_host::usual_entry);
    auto outputs = nd_host::call_addon(function, nlhs, {prhs, prhs + nrhs}, caller.observer());
    if (plhs == nullptr) {
        return; // nobody wants what may have come unasked
    }
    // An output that stands on no list joins the caller's context; nothing is handed over before all of them have.
    for (const matrix::array_ptr& output : outputs) {
        matrix::detail::noninlined::nd_array_api::ndSetArrayScope(output.get(), ndTEMPORARY_SCOPE);
    }
    for (matrix::array_ptr& output : outputs) {
        *plhs++ = output.release();
    }
}
