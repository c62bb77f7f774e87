/*
 * Loads an addon function: a shared object with an entry point and the stamp of the interface version it was compiled for.
 *
 * An addon stays loaded until the process ends. What it leaves behind (exceptions in flight, deleters of blocks, thread-local
 * objects) has its code in there.
 */
#ifndef ND_TOOLS_ADDON_HPP
#define ND_TOOLS_ADDON_HPP

#include <nd/nd.h>

#include <cstdint>
#include <string>

namespace nd_host {

/// The interface version of the library that this host runs with: 64-bit sizes, interleaved complex.
inline constexpr std::uint32_t current_interface = ND_INTERFACE_VERSION;

/// The function of an addon that is called when no other is named.
inline constexpr const char* usual_entry = "ndAddonFunction";

/// "0x07300000 (Separate Complex)"
std::string version_text(std::uint32_t version);

class addon {
public:
    using function = void (*)(int nlhs, ndArray_tag* plhs[], int nrhs, const ndArray_tag* prhs[]);

    /// Loads path, finds entry in it and checks the stamp. Raises failure(not_an_addon) or failure(wrong_version).
    addon(const std::string& path, const std::string& entry);

    const std::string& path() const noexcept { return path_; }

    /// For messages: the path, with the function's name behind it unless that is the usual one.
    const std::string& name() const noexcept { return name_; }
    function entry() const noexcept { return entry_; }

private:
    std::string path_;
    std::string name_;
    function entry_;
};

} // namespace nd_host

#endif
