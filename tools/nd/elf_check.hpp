/*
 * A look at a file before the dynamic loader maps it. The loader trusts offsets in a file: one that was cut off while it was
 * copied would end the process by a signal.
 */
#ifndef ND_TOOLS_ELF_CHECK_HPP
#define ND_TOOLS_ELF_CHECK_HPP

#include <string>

namespace nd_host {

/// Why path can't be a shared object for this machine, as the end of a sentence; empty when the loader may
/// try. Raises std::bad_alloc.
std::string why_not_loadable(const std::string& path);

} // namespace nd_host

#endif
