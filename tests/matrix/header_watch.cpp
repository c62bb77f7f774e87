// The slots of a watch, and what it keeps.
#include "matrix/header_watch.hpp"

#include "matrix/test_hooks.hpp"

#include <nd/array.hpp>

#include <cstring>

namespace test {
namespace {

constinit header_watch* watching = nullptr;

template <class T>
T word_at(const void* header, std::size_t offset) {
    T word;
    std::memcpy(&word, static_cast<const std::byte*>(header) + offset, sizeof word);
    return word;
}

} // namespace

struct header_watch_slots {
    static void* malloc(std::size_t size) {
        void* const block = watching->before_.malloc(size);
        watching->note_request(block, size);
        return block;
    }
    static void* calloc(std::size_t n, std::size_t size) {
        void* const block = watching->before_.calloc(n, size);
        watching->note_request(block, n * size);
        return block;
    }
    static void free(void* block) {
        watching->note_free(block);
        watching->before_.free(block);
    }
};

bool freed_header::is_poisoned() const noexcept {
    return scope == 7 && class_id == 0x7FFFFFFF && pdata == ~std::uint64_t{0} && next == ~std::uint64_t{0};
}

header_watch::header_watch() : before_(matrix::internal::slots_in_force) {
    static constexpr matrix::internal::header_slots slots{
        header_watch_slots::malloc, header_watch_slots::calloc, header_watch_slots::free};
    watching = this;
    matrix::internal::test_hooks::set_header_slots(&slots);
}

header_watch::~header_watch() {
    matrix::internal::test_hooks::set_header_slots(&before_);
    watching = nullptr;
}

void header_watch::note_request(const void* at, std::size_t size) {
    requests_.push_back(size);
    if (at != nullptr) alive_.emplace(at, size);
}

void header_watch::note_free(const void* at) {
    const auto found = alive_.find(at);
    if (found == alive_.end()) return;
    const std::size_t size = found->second;
    alive_.erase(found);
    if (size != sizeof(ndArray_tag)) {
        ++freed_records_;
        return;
    }
    freed_.push_back({at, word_at<std::uint32_t>(at, offsetof(ndArray_tag, scope)),
                      word_at<std::int32_t>(at, offsetof(ndArray_tag, class_id)),
                      word_at<std::uint32_t>(at, offsetof(ndArray_tag, flags)),
                      word_at<std::uint64_t>(at, offsetof(ndArray_tag, parent)),
                      word_at<std::uint64_t>(at, offsetof(ndArray_tag, pdata)),
                      word_at<std::uint64_t>(at, offsetof(ndArray_tag, next))});
}

} // namespace test
