// Numbers of the types that engines store: dense, in the order of asking, the same in all engines.
#include <foundation/usm/usm.hpp>

#include <typeindex>
#include <unordered_map>

namespace foundation::usm {

namespace {

struct type_registry {
    std::mutex mutex;
    std::unordered_map<std::type_index, std::size_t> ids;
};

type_registry& registry() {
    static type_registry* const types = new type_registry; // never destroyed: thread exits may ask
    return *types;
}

} // namespace

std::size_t Detail<scope::EngineScope>::getNextID(const std::type_info& type) {
    type_registry& types = registry();
    const std::lock_guard lock(types.mutex);
    return types.ids.try_emplace(type, types.ids.size()).first->second;
}

} // namespace foundation::usm
