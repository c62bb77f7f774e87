// Setter of the install path.
#include "install_path_buffer.hpp"

#include "platform/test_hooks.hpp"

#include <cstring>
#include <stdexcept>

namespace foundation::test_hooks {

void set_install_path(const char* path) {
    auto& stored = fl::filesystem::detail::install_path();
    if (path == nullptr) {
        stored = fl::filesystem::detail::InstallPath();
        return;
    }
    const std::size_t size = std::strlen(path) + 1;
    if (size > sizeof stored.text) throw std::length_error("the install path is too long");
    std::memcpy(stored.text, path, size);
}

} // namespace foundation::test_hooks
