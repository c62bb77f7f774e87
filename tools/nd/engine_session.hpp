/*
 * The host as an engine: what a program that embeds libnd sets up once, and how it calls an addon function.
 *
 *   1. engine scope       an EngineInstance owns what the library keeps per engine; an EngineActivation makes it this thread's
 *   2. initModule(mode)   once in a process: 1 is the full engine, where creators raise; in other modes they return null
 *      warnings go to standard error, results have standard output to themselves
 *   3. the call           inputs borrowed, outputs owned by the caller; whatever is thrown becomes a failure
 *
 * Outputs must be gone before their session is.
 */
#ifndef ND_TOOLS_ENGINE_SESSION_HPP
#define ND_TOOLS_ENGINE_SESSION_HPP

#include "addon.hpp"

#include <nd/engine.hpp>

#include <vector>

namespace nd_host {

class engine_session {
public:
    /// At most one session in a process, since the module is initialised once.
    explicit engine_session(matrix::Mode mode);

    /// Calls function with the inputs. Gives back nlhs outputs, none of them null; for nlhs 0 one if the addon made it, since
    /// the first slot may always be filled. Raises failure(error_raised), (foreign_exception) or (broken_outputs); then all
    /// that the addon put out is gone.
    std::vector<matrix::array_ptr> call(const addon& function, int nlhs,
                                        const std::vector<matrix::array_ptr>& inputs) const;

private:
    foundation::usm::EngineInstance engine_;
    foundation::usm::EngineActivation active_{&engine_};
};

} // namespace nd_host

#endif
