// Reading translated catalogs. The files have the form of the library's own catalogs:
//   # comment
//   key                    (an argument list behind it is passed over)
//       text, indented; its lines are joined by one blank; \n, \s and \\ stand for a new line, a blank, a backslash
// Nothing here complains: a user whose translation is damaged still wants to read the error itself.
#include "translations.hpp"

#include <cctype>
#include <climits>
#include <cstddef>
#include <cstring>
#include <fstream>
#include <map>
#include <mutex>
#include <new>

namespace fl::i18n::detail {
namespace {

using Texts = std::map<std::string, std::string, std::less<>>;

struct Store {
    std::mutex lock;
    char root[PATH_MAX] = "";
    std::map<std::string, Texts, std::less<>> files; // by path below the root
};

// Never destroyed: errors may be raised until the process is gone. Not on the heap: the catalogs are made ready while
// an error is on its way, and that error may be that there's no memory.
Store& store() noexcept {
    alignas(Store) static std::byte place[sizeof(Store)];
    static Store& immortal = *new (place) Store;
    return immortal;
}

// Names come from the environment and from callers, and become parts of a path.
bool is_plain_name(std::string_view name, std::string_view more_characters) noexcept {
    for (const char c : name) {
        const bool is_word = std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_';
        if (!is_word && more_characters.find(c) == std::string_view::npos) return false;
    }
    return !name.empty();
}

// "TARVEL:mtasks:constraints" is kept in mtasks.constraints.msg.
std::string file_name(std::string_view catalog) {
    constexpr std::string_view own_prefix = "TARVEL:";
    if (catalog.substr(0, own_prefix.size()) == own_prefix) catalog.remove_prefix(own_prefix.size());
    std::string name(catalog);
    for (char& c : name)
        if (c == ':') c = '.';
    return name + ".msg";
}

std::string_view trimmed(std::string_view line) noexcept {
    constexpr std::string_view blanks = " \t\r";
    const std::size_t first = line.find_first_not_of(blanks);
    if (first == std::string_view::npos) return {};
    return line.substr(first, line.find_last_not_of(blanks) - first + 1);
}

std::string unescaped(std::string_view text) {
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        char c = text[i];
        if (c == '\\' && i + 1 < text.size()) {
            c = text[++i];
            if (c == 'n') c = '\n';
            if (c == 's') c = ' ';
        }
        result += c;
    }
    return result;
}

Texts read_catalog(const std::string& path) {
    Texts texts;
    std::ifstream file(path);
    std::string* text = nullptr;
    for (std::string line; std::getline(file, line);) {
        const std::string_view content = trimmed(line);
        if (content.empty() || line[0] == '#') continue;
        if (line[0] != ' ' && line[0] != '\t') {
            text = &texts[std::string(content.substr(0, content.find_first_of("( \t")))];
        } else if (text != nullptr) {
            if (!text->empty()) *text += ' ';
            *text += content;
        }
    }
    for (auto& [key, pattern] : texts) pattern = unescaped(pattern);
    return texts;
}

} // namespace

void set_translation_root(const char* install_path) noexcept {
    const std::size_t size = std::strlen(install_path) + 1;
    Store& known = store();
    const std::lock_guard guard(known.lock);
    known.root[0] = '\0';
    if (size <= sizeof known.root) std::memcpy(known.root, install_path, size);
    known.files.clear();
}

std::optional<std::string> translated_pattern(std::string_view locale, std::string_view catalog,
                                              std::string_view key) {
    if (!is_plain_name(locale, "-") || !is_plain_name(catalog, ":")) return std::nullopt;
    Store& known = store();
    const std::lock_guard guard(known.lock);
    if (known.root[0] == '\0') return std::nullopt;
    const std::string name = std::string(locale) + '/' + file_name(catalog);
    auto file = known.files.find(name);
    if (file == known.files.end()) {
        Texts texts = read_catalog(std::string(known.root) + "/share/nd/catalogs/" + name);
        file = known.files.emplace(name, std::move(texts)).first;
    }
    const auto pattern = file->second.find(key);
    if (pattern == file->second.end() || pattern->second.empty()) return std::nullopt;
    return pattern->second;
}

} // namespace fl::i18n::detail
