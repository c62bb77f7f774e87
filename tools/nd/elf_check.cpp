#include "elf_check.hpp"

#include <elf.h>

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <vector>

namespace nd_host {

namespace {

// Whether every segment lies within the file.
bool segments_fit(std::ifstream& file, const Elf64_Ehdr& header, std::uint64_t size) {
    if (header.e_phentsize != sizeof(Elf64_Phdr) || header.e_phoff > size ||
        header.e_phnum * sizeof(Elf64_Phdr) > size - header.e_phoff) {
        return false;
    }
    std::vector<Elf64_Phdr> segments(header.e_phnum);
    file.seekg(static_cast<std::streamoff>(header.e_phoff));
    file.read(reinterpret_cast<char*>(segments.data()),
              static_cast<std::streamsize>(segments.size() * sizeof(Elf64_Phdr)));
    if (!file) {
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
    std::error_code error;
    const auto status = std::filesystem::status(path, error);
    if (!std::filesystem::exists(status)) {
        return "there is no such file";
    }
    if (!std::filesystem::is_regular_file(status)) {
        return "it is not a file";
    }
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        return "it can't be read";
    }
    Elf64_Ehdr header{};
    file.read(reinterpret_cast<char*>(&header), sizeof header);
    if (file.gcount() < SELFMAG || std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0) {
        return "it is not a shared object (no ELF file)";
    }
    if (!file) {
        return "the file is cut off";
    }
    if (header.e_ident[EI_CLASS] != ELFCLASS64) {
        return "it is not a 64-bit shared object";
    }
    const auto size = std::filesystem::file_size(path, error);
    if (error || !segments_fit(file, header, size)) {
        return "the file is cut off or damaged";
    }
    return {};
}

} // namespace nd_host
