#include "addon.hpp"

#include "elf_check.hpp"
#include "failure.hpp"

#include <dlfcn.h>
#include <link.h>

#include <array>
#include <cstdio>
#include <filesystem>

namespace nd_host {

namespace {

constexpr const char* stamp_name = "ndAddonInterfaceVersion";

// Each version up to and including the bound has the name, if no row above takes it.
struct version_row {
    std::uint32_t bound;
    const char* name;
};
constexpr std::array<version_row, 3> versions{
    {{0x07000000, "32-bit"}, {0x07300000, "Separate Complex"}, {current_interface, "Interleaved Complex"}}};

const char* version_name(std::uint32_t version) {
    if (version == 0) {
        return "unknown";
    }
    for (const version_row& row : versions) {
        if (version <= row.bound) {
            return row.name;
        }
    }
    return "incompatible";
}

[[noreturn]] void refuse(const std::string& path, const std::string& why) {
    throw failure(exit_status::not_an_addon, path + ": can't be used as an addon: " + why);
}

// An absolute path: the loader would search the system's folders for a bare file name.
void* load(const std::string& path) {
    const std::string why = why_not_loadable(path);
    if (!why.empty()) {
        refuse(path, why);
    }
    void* handle = dlopen(std::filesystem::absolute(path).c_str(), RTLD_NOW | RTLD_LOCAL);
    if (handle == nullptr) {
        refuse(path, dlerror());
    }
    return handle;
}

// What the addon itself calls so: the loader would go on in the libraries that it needs. Null when there is nothing.
void* find_own(void* handle, const char* name) {
    void* const found = dlsym(handle, name);
    link_map* map = nullptr;
    if (found == nullptr || dlinfo(handle, RTLD_DI_LINKMAP, &map) != 0) {
        return nullptr;
    }
    Dl_info of_found{};
    Dl_info of_addon{};
    const bool is_own = dladdr(found, &of_found) != 0 && dladdr(map->l_ld, &of_addon) != 0 &&
                        of_found.dli_fbase == of_addon.dli_fbase;
    return is_own ? found : nullptr;
}

// The same for a function: what stands there under that name is no variable.
addon::function find_function(void* handle, const char* name) {
    void* const found = find_own(handle, name);
    if (found == nullptr) {
        return nullptr;
    }
    Dl_info where{};
    void* entry = nullptr; // of the symbol table
    if (dladdr1(found, &where, &entry, RTLD_DL_SYMENT) != 0 && entry != nullptr && where.dli_saddr == found &&
        ELF64_ST_TYPE(static_cast<const ElfW(Sym)*>(entry)->st_info) == STT_OBJECT) {
        return nullptr;
    }
    return reinterpret_cast<addon::function>(found);
}

void check_stamp(const std::string& path, void* handle) {
    const std::string ours = ", but this library calls addons of version " + version_text(current_interface);
    const auto* stamp = static_cast<const std::uint32_t*>(find_own(handle, stamp_name));
    if (stamp == nullptr) {
        refuse(path, std::string("it has no interface version (") + stamp_name + ")" + ours +
                         "; put ND_ADDON_FUNCTION; once beside ndAddonFunction");
    }
    if (*stamp == current_interface) {
        return;
    }
    const std::string both = path + ": compiled for interface version " + version_text(*stamp) + ours;
    throw failure(
        exit_status::wrong_version,
        both + (*stamp < current_interface
                    ? "; compile it with ND_API 800"
                    : "; install the libnd it was compiled for, or compile it with this one's headers"));
}

} // namespace

std::string version_text(std::uint32_t version) {
    std::array<char, 16> number{};
    std::snprintf(number.data(), number.size(), "0x%08X", static_cast<unsigned>(version));
    return std::string(number.data()) + " (" + version_name(version) + ")";
}

addon::addon(const std::string& path, const std::string& entry)
    : path_(path), name_(entry == usual_entry ? path : path + " (" + entry + ")"), entry_(nullptr) {
    void* handle = load(path);
    check_stamp(path, handle);
    entry_ = find_function(handle, entry.c_str());
    if (entry_ == nullptr) {
        refuse(path, "it has no function '" + entry + "'");
    }
}

} // namespace nd_host
