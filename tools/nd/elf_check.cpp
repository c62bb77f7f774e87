#include "elf_check.hpp"

#include <elf.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <new>
#include <vector>

namespace nd_host {

namespace {

// A file that is open for reading, or errno. The system is asked directly: streams take a lack of memory for a file that can't
// be read.
class open_file {
public:
    explicit open_file(const std::string& path) noexcept
        : descriptor_(::open(path.c_str(), O_RDONLY | O_CLOEXEC)) {}
    ~open_file() {
        if (is_open()) {
            ::close(descriptor_);
        }
    }
    open_file(const open_file&) = delete;
    open_file& operator=(const open_file&) = delete;

    bool is_open() const noexcept { return descriptor_ >= 0; }

    /// How many of size bytes at offset could be read.
    std::size_t read(void* to, std::size_t size, std::uint64_t offset) const noexcept {
        std::size_t done = 0;
        while (done < size) {
            const ssize_t got = ::pread(descriptor_, static_cast<char*>(to) + done, size - done,
                                        static_cast<off_t>(offset + done));
            if (got <= 0) {
                break;
            }
            done += static_cast<std::size_t>(got);
        }
        return done;
    }

private:
    int descriptor_;
};

// Whether every segment lies within the file.
bool segments_fit(const open_file& file, const Elf64_Ehdr& header, std::uint64_t size) {
    if (header.e_phentsize != sizeof(Elf64_Phdr) || header.e_phoff > size ||
        header.e_phnum * sizeof(Elf64_Phdr) > size - header.e_phoff) {
        return false;
    }
    std::vector<Elf64_Phdr> segments(header.e_phnum);
    const std::size_t bytes = segments.size() * sizeof(Elf64_Phdr);
    if (file.read(segments.data(), bytes, header.e_phoff) != bytes) {
        return false;
    }
    for (const Elf64_Phdr& segment : segments) {
        if (segment.p_offset > size || segment.p_filesz > size - segment.p_offset) {
            return false;
        }
    }
    return true;
}

} // namespace

std::string why_not_loadable(const std::string& path) {
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0) {
        return "there is no such file";
    }
    if (!S_ISREG(status.st_mode)) {
        return "it is not a file";
    }
    const open_file file(path);
    if (!file.is_open()) {
        if (errno == ENOMEM) {
            throw std::bad_alloc();
        }
        return "it can't be read";
    }
    Elf64_Ehdr header{};
    const std::size_t bytes = file.read(&header, sizeof header, 0);
    if (bytes < SELFMAG || std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0) {
        return "it is not a shared object (no ELF file)";
    }
    if (bytes < sizeof header) {
        return "the file is cut off";
    }
    if (header.e_ident[EI_CLASS] != ELFCLASS64) {
        return "it is not a 64-bit shared object";
    }
    if (!segments_fit(file, header, static_cast<std::uint64_t>(status.st_size))) {
        return "the file is cut off or damaged";
    }
    return {};
}

} // namespace nd_host
