// Who is told when contents of objects gain or lose a reference.
#include <nd/module.hpp>

#include <atomic>

namespace matrix {

ObjectRefCountInterface::~ObjectRefCountInterface() = default;

namespace {

class ObjectRefCountInterfaceDefault final : public ObjectRefCountInterface {
public:
    void add(ndArray_tag* /*value*/, bool /*referencedByOldSystem*/) override {}
    void release(ndArray_tag* /*value*/) override {}
};

// There before anything runs and till the process ends: arrays end in destructors of other libraries too.
union built_in_instance {
    constexpr built_in_instance() noexcept : instance() {}
    ~built_in_instance() {}
    ObjectRefCountInterfaceDefault instance;
};
constinit built_in_instance built_in;

constinit std::atomic<ObjectRefCountInterface*> installed{nullptr};

} // namespace

ObjectRefCountInterface* ObjectRefCountInterface::get() {
    ObjectRefCountInterface* const instance = installed.load(std::memory_order_acquire);
    return instance == nullptr ? &built_in.instance : instance;
}

void ObjectRefCountInterface::set(ObjectRefCountInterface* instance) {
    installed.store(instance, std::memory_order_release);
}

} // namespace matrix
