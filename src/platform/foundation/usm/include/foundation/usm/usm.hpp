// The engine store: objects that exist once per engine, found by a number that stands for their type.
//
// Scopes. An EngineInstance owns the objects of one engine. An EngineActivation makes it the current one of its
// thread; activations nest and end in reverse order on the thread that began them. A thread without an activation is
// in the default engine. A worker thread that acts for an engine activates EngineInstance::current() of the thread
// that it works for.
//
// Life. Objects end in reverse order of insertion, when their engine closes. The engine is marked closed first, and
// is current on the closing thread while the deleters run: what they look up raises TypeError and nothing is made
// anew in a store that is going down. Only what has to leave an object of the store before it ends still reaches it,
// inside the library, until that object's own end.
//
// Threads. Finding takes no lock. Inserting takes the engine's lock, but never while foreign code runs. An engine must
// not be closed while another thread uses it.
//
// Failure. An operation that throws leaves the store as it was; a candidate that isn't taken is destroyed. A null
// candidate is refused with std::invalid_argument.
#pragma once

#include <nd/types.h>

#include <atomic>
#include <cstddef>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <typeinfo>
#include <vector>

namespace foundation::usm {

// No engine is active on this thread or it is closed; or, from insert(), the place is taken.
class ND_EXPORT TypeError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
    ~TypeError() override;
};

// An engine is active and has no object of this type. Catch it before its base.
class ND_EXPORT DoesNotExistTypeError : public TypeError {
public:
    using TypeError::TypeError;
    ~DoesNotExistTypeError() override;
};

namespace scope {
struct EngineScope; // names the scope in Detail, never defined
}

// An object and how it ends.
using object_ptr = std::unique_ptr<void, void (*)(void*)>;

template <class Scope>
struct Detail;

class EngineInstance {
public:
    constexpr EngineInstance() noexcept = default;
    EngineInstance(const EngineInstance&) = delete;
    EngineInstance& operator=(const EngineInstance&) = delete;
    ND_EXPORT ~EngineInstance(); // closes; no activation of this engine may outlive it

    // Ends the objects. The engine stays, empty, and every lookup in it fails.
    ND_EXPORT void close() noexcept;
    bool is_closed() const noexcept { return closed_.load(std::memory_order_acquire); }

    // The engine of threads without an activation. It is never destroyed.
    ND_EXPORT static EngineInstance& default_instance() noexcept;

    // The engine that is current on this thread; null within an activation of no engine.
    ND_EXPORT static EngineInstance* current() noexcept;

private:
    friend struct Detail<scope::EngineScope>;
    friend class current_engine;
    struct insertion {
        void* object; // the one that stands
        bool is_new;
    };
    using object_slot = std::atomic<void*>;

    [[gnu::always_inline]] void* find(std::size_t id) const noexcept {
        if (id >= capacity_.load(std::memory_order_acquire)) return nullptr;
        return slots_.load(std::memory_order_acquire)[id].load(std::memory_order_acquire);
    }
    void* find_while_closing(std::size_t id) const noexcept {
        return id < capacity_while_closing_ ? slots_.load()[id].load() : nullptr;
    }
    void forget(const void* object) noexcept;
    insertion find_or_insert(std::size_t id, object_ptr& candidate);
    void grow_slots(std::size_t id);

    // Objects by id. The capacity is published after the slots, so that a reader who sees it sees slots of at least
    // that many; slots that have become too small stay readable until the engine closes.
    std::atomic<std::size_t> capacity_{0};
    std::atomic<object_slot*> slots_{nullptr};
    std::atomic<bool> closed_{false};
    std::mutex mutex_; // guards what follows and changes of what stands above
    std::vector<std::unique_ptr<object_slot[]>> all_slots_;
    std::vector<object_ptr> objects_; // in order of insertion
    std::size_t capacity_while_closing_ = 0; // of the slots; touched by the closing thread alone
};

// Makes an engine, or with null no engine, current on this thread while it lives.
class EngineActivation {
public:
    ND_EXPORT explicit EngineActivation(EngineInstance* engine) noexcept;
    EngineActivation(const EngineActivation&) = delete;
    EngineActivation& operator=(const EngineActivation&) = delete;
    ND_EXPORT ~EngineActivation();

private:
    EngineInstance* previous_;
};

// Lookup in the current engine.
template <>
struct Detail<scope::EngineScope> {
    // The number of a type: small, the same for every caller. Ask once and keep it.
    ND_EXPORT static std::size_t getNextID(const std::type_info& type);

    // The object, or null when there is none or no open engine is active.
    ND_EXPORT static void* find(std::size_t id) noexcept;

    // The object; TypeError without an open engine, DoesNotExistTypeError without an object.
    ND_EXPORT static void* findOrThrow(std::size_t id);

    // The object; ends the process when there is none.
    ND_EXPORT static void* findOrFail(std::size_t id);

    // Stores the candidate unless an object stands already. Returns the one that stands; a losing candidate is
    // destroyed before the return. TypeError without an open engine.
    ND_EXPORT static void* findOrInsert(std::size_t id, object_ptr candidate);

    // Stores the object and returns it. TypeError without an open engine or when an object stands already.
    ND_EXPORT static void* insert(std::size_t id, object_ptr object);

    // Whether an open engine is active on this thread.
    ND_EXPORT static bool isRequiredContextActive() noexcept;
};

} // namespace foundation::usm
