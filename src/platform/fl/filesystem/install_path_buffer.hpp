// The install path's storage, which tests write to.
#pragma once

#include <climits>

namespace fl::filesystem::detail {

struct InstallPath {
    char text[PATH_MAX];

    InstallPath() noexcept; // as the system tells it
};

InstallPath& install_path() noexcept;

} // namespace fl::filesystem::detail
