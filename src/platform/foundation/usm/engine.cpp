// The engine store: which engine is current, and finding and inserting its objects.
#include "platform/foundation/usm/current_engine.hpp"

#include <foundation/core/diag/diag.hpp>

#include <algorithm>
#include <utility>

namespace foundation::usm {

TypeError::~TypeError() = default;
DoesNotExistTypeError::~DoesNotExistTypeError() = default;

namespace {

// Holds an engine that is never destroyed: static constructors and thread exits may still use it.
union immortal_engine {
    constexpr immortal_engine() noexcept : engine() {}
    ~immortal_engine() {}
    EngineInstance engine;
};

constinit immortal_engine default_engine;

EngineInstance& require_open_engine() {
    EngineInstance* const engine = EngineInstance::current();
    if (engine == nullptr) throw TypeError("no engine is active on this thread");
    if (engine->is_closed()) throw TypeError("the engine is closed");
    return *engine;
}

} // namespace

constinit thread_local EngineInstance* current_engine::engine_ = &default_engine.engine;

EngineInstance::~EngineInstance() { close(); }

EngineInstance& EngineInstance::default_instance() noexcept { return default_engine.engine; }

EngineInstance* EngineInstance::current() noexcept { return current_engine::engine_; }

void EngineInstance::close() noexcept {
    std::vector<object_ptr> ending;
    {
        const std::lock_guard lock(mutex_);
        if (closed_.exchange(true)) return;
        capacity_while_closing_ = capacity_.exchange(0);
        ending.swap(objects_);
    }
    {
        const EngineActivation closing(this);
        while (!ending.empty()) {
            void* const object = ending.back().get();
            ending.pop_back();
            forget(object);
        }
    }
    capacity_while_closing_ = 0;
    slots_ = nullptr;
    all_slots_.clear();
}

// An object that has ended isn't found any more, by what ends after it.
void EngineInstance::forget(const void* object) noexcept {
    for (std::size_t id = 0; id < capacity_while_closing_; ++id) {
        if (slots_.load()[id].load() == object) slots_.load()[id] = nullptr;
    }
}

EngineInstance::insertion EngineInstance::find_or_insert(std::size_t id, object_ptr& candidate) {
    void* const object = candidate.get();
    if (object == nullptr) throw std::invalid_argument("an engine stores no null object");
    const std::lock_guard lock(mutex_);
    if (closed_) throw TypeError("the engine is closed");
    if (void* const standing = find(id)) return {standing, false};
    grow_slots(id);
    objects_.push_back(std::move(candidate)); // leaves the candidate as it is when there is no memory
    slots_.load()[id].store(object, std::memory_order_release);
    return {object, true};
}

void EngineInstance::grow_slots(std::size_t id) {
    const std::size_t old_capacity = capacity_;
    if (id < old_capacity) return;
    const std::size_t capacity = std::max({id + 1, 2 * old_capacity, std::size_t{8}});
    all_slots_.push_back(std::make_unique<object_slot[]>(capacity));
    object_slot* const slots = all_slots_.back().get();
    for (std::size_t i = 0; i < old_capacity; ++i) slots[i] = slots_.load()[i].load();
    slots_.store(slots);
    capacity_.store(capacity, std::memory_order_release);
}

EngineActivation::EngineActivation(EngineInstance* engine) noexcept
    : previous_(std::exchange(current_engine::engine_, engine)) {}

EngineActivation::~EngineActivation() { current_engine::engine_ = previous_; }

void* Detail<scope::EngineScope>::find(std::size_t id) noexcept { return current_engine::find(id); }

void* Detail<scope::EngineScope>::findOrThrow(std::size_t id) {
    if (void* const object = find(id)) return object;
    require_open_engine();
    throw DoesNotExistTypeError("the engine has no object of this type");
}

void* Detail<scope::EngineScope>::findOrFail(std::size_t id) {
    if (void* const object = find(id)) return object;
    core::diag::terminate("The engine has no object of the required type", __FILE__, __LINE__, __func__);
}

void* Detail<scope::EngineScope>::findOrInsert(std::size_t id, object_ptr candidate) {
    const auto [object, is_new] = require_open_engine().find_or_insert(id, candidate);
    if (!is_new) candidate.reset(); // outside the engine's lock, since its end may look things up
    return object;
}

void* Detail<scope::EngineScope>::insert(std::size_t id, object_ptr object) {
    const auto [standing, is_new] = require_open_engine().find_or_insert(id, object);
    if (!is_new) throw TypeError("the engine already has an object of this type");
    return standing;
}

bool Detail<scope::EngineScope>::isRequiredContextActive() noexcept {
    const EngineInstance* const engine = EngineInstance::current();
    return engine != nullptr && !engine->is_closed();
}

} // namespace foundation::usm
