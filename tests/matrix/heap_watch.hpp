// Looking over the shoulder of the aligned heap: each request for a data block with the slot that it came through.
//
// A watch stands before the slots that were in force and puts them back when it goes. It can refuse large requests, so that a
// test may ask for sizes that no machine has: what was asked for is noted all the same. Watches don't nest.
#pragma once

#include <foundation/core/mem/aligned_heap.hpp>

#include <cstddef>
#include <vector>

namespace test {

struct heap_request {
    enum class slot { malloc, calloc, realloc };
    slot through;
    std::size_t count; ///< 1 but for calloc
    std::size_t size;

    friend bool operator==(const heap_request&, const heap_request&) = default;
};

class heap_watch {
public:
    static constexpr std::size_t no_ceiling = ~std::size_t{0};

    /// Requests of more than ceiling bytes are refused.
    explicit heap_watch(std::size_t ceiling = no_ceiling);
    ~heap_watch();
    heap_watch(const heap_watch&) = delete;
    heap_watch& operator=(const heap_watch&) = delete;

    const std::vector<heap_request>& requests() const noexcept { return requests_; }
    const std::vector<void*>& freed() const noexcept { return freed_; }
    std::size_t refused() const noexcept { return refused_; }
    void forget() noexcept;

    /// How often the block was given back.
    std::size_t times_freed(const void* block) const noexcept;

private:
    friend struct heap_watch_slots;

    /// Notes the request; true when it is to be refused.
    bool refuses(heap_request::slot through, std::size_t count, std::size_t size);

    foundation::core::mem::aligned_heap before_{};
    std::size_t ceiling_;
    std::vector<heap_request> requests_;
    std::vector<void*> freed_;
    std::size_t refused_ = 0;
};

} // namespace test
