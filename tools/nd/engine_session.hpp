/*
 * The host as an engine: what a program that embeds libnd sets up once, and how it calls an addon function.
 *
 *   1. start_library(mode)  once in a process: 1 is the full engine, where creators raise; in other modes they return null
 *      warnings go to standard error, results have standard output to themselves
 *   2. engine scope         an EngineInstance owns what the library keeps per engine; an EngineActivation makes it this thread's
 *   3. the call             inputs borrowed, outputs owned by the caller; what the function forgets ends with the call
 *                           (addon_call.hpp); whatever is thrown becomes a failure
 *
 * Outputs must be gone before their session is.
 */
#ifndef ND_TOOLS_ENGINE_SESSION_HPP
#define ND_TOOLS_ENGINE_SESSION_HPP

#include "addon.hpp"
#include "addon_call.hpp"

#include <nd/engine.hpp>

#include <vector>

namespace nd_host {

/// Starts the library. Once in a process, before the first session.
void start_library(matrix::Mode mode);

/// An engine. Its thread has it as the current one while it lives; of several on one thread the newest goes first.
class engine_session {
public:
    /// Calls function with the inputs, in this engine. Gives back nlhs outputs, none of them null; for nlhs 0 one if the addon made
    /// it, since the first slot may always be filled. Raises failure(error_raised), (foreign_exception), (broken_outputs), and what
    /// ndCallAddon raises in the addon; then all that the addon put out is gone. observer may be empty.
    std::vector<matrix::array_ptr> call(const addon& function, int nlhs,
                                        const std::vector<matrix::array_ptr>& inputs,
                                        const forgotten_observer& observer);

private:
    foundation::usm::EngineInstance engine_;
    foundation::usm::EngineActivation active_{&engine_};
};

} // namespace nd_host

#endif
