// Where the library is installed.
#pragma once

namespace fl::filesystem {

// The prefix that the library was loaded from: the folder above "lib" (or "lib64", "lib32") on its path, or the folder
// that it lies in if there's none. Found once; never allocates. Empty if the system can't tell. The text lives as long
// as the program.
const char* get_install_path() noexcept;

} // namespace fl::filesystem
