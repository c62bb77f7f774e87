// One object of type T per engine, made at first use and owned by the engine's store.
#pragma once

#include "platform/foundation/usm/current_engine.hpp"

#include <atomic>
#include <memory>
#include <typeinfo>

namespace matrix::internal {

template <class T>
class engine_object {
    using store = foundation::usm::Detail<foundation::usm::scope::EngineScope>;

    // Asked for when the first object is made. Until then no engine has one, and no store has a place for this number.
    static constexpr std::size_t not_asked = ~std::size_t{0};
    static inline constinit std::atomic<std::size_t> id_{not_asked};

    static std::size_t id() {
        static const std::size_t number = store::getNextID(typeid(T));
        id_.store(number, std::memory_order_relaxed);
        return number;
    }

public:
    /// The current engine's object; null when there is none or no engine is active. A handful of loads.
    [[gnu::always_inline]] static T* find() noexcept {
        return static_cast<T*>(foundation::usm::current_engine::find(id_.load(std::memory_order_relaxed)));
    }

    /// The current engine's object while that engine closes, up to the end of the object; null otherwise. For what has to
    /// leave the object before it ends.
    static T* find_while_closing() noexcept {
        return static_cast<T*>(
            foundation::usm::current_engine::find_while_closing(id_.load(std::memory_order_relaxed)));
    }

    /// The current engine's object, made if missing; null when no engine is active. Another thread may have made it
    /// meanwhile: one stands, the loser is destroyed. Raises std::bad_alloc.
    static T* find_or_make() {
        if (T* object = find()) return object;
        if (!store::isRequiredContextActive()) return nullptr;
        foundation::usm::object_ptr candidate(new T, [](void* object) { delete static_cast<T*>(object); });
        try {
            return static_cast<T*>(store::findOrInsert(id(), std::move(candidate)));
        } catch (const foundation::usm::TypeError&) {
            return nullptr; // the engine's store was closed in between
        }
    }
};

} // namespace matrix::internal
