// The install path, from the file that the dynamic linker loaded this code from.
#include "install_path_buffer.hpp"

#include <fl/filesystem/install_path.hpp>

#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <string_view>

namespace fl::filesystem {
namespace detail {
namespace {

constexpr char inside_the_library = 0;

bool is_library_folder(std::string_view name) noexcept {
    return name == "lib" || name == "lib64" || name == "lib32";
}

// Length of the part of path, without the slash behind it, that is the prefix. The nearest library folder counts: a
// prefix may itself lie below one, as in /usr/lib/app/lib.
std::size_t prefix_length(std::string_view path) noexcept {
    const std::size_t folder_end = path.rfind('/');
    if (folder_end == std::string_view::npos) return 0;
    for (std::size_t end = folder_end; end != std::string_view::npos && end != 0;) {
        const std::size_t slash = path.rfind('/', end - 1);
        if (slash == std::string_view::npos) break;
        if (is_library_folder(path.substr(slash + 1, end - slash - 1))) return slash;
        end = slash;
    }
    return folder_end;
}

} // namespace

InstallPath::InstallPath() noexcept : text{} {
    Dl_info library;
    if (dladdr(&inside_the_library, &library) == 0 || realpath(library.dli_fname, text) == nullptr) {
        text[0] = '\0';
        return;
    }
    text[prefix_length(text)] = '\0';
}

InstallPath& install_path() noexcept {
    static InstallPath path;
    return path;
}

} // namespace detail

const char* get_install_path() noexcept { return detail::install_path().text; }

} // namespace fl::filesystem
