// The process's register of components.
#include <mersola/platform/component.h>

#include <map>
#include <mutex>
#include <string>
#include <utility>

namespace mersola {
namespace {

struct ComponentRegister {
    std::mutex mutex;
    std::map<std::string, ComponentFactory> factories;  // by ProgID in lower case
};

ComponentRegister& Components() {
    static ComponentRegister instance;
    return instance;
}

std::string KeyOf(const char* progId) {
    CString key(progId);
    key.MakeLower();
    return std::string(key.View());
}

}  // namespace

void RegisterComponent(const char* progId, ComponentFactory factory) {
    ComponentRegister& components = Components();
    const std::lock_guard lock(components.mutex);
    if (factory) {
        components.factories[KeyOf(progId)] = std::move(factory);
    } else {
        components.factories.erase(KeyOf(progId));
    }
}

HRESULT CreateComponent(const char* progId, std::shared_ptr<Component>& component) noexcept try {
    component = nullptr;
    ComponentFactory factory;
    {
        ComponentRegister& components = Components();
        const std::lock_guard lock(components.mutex);
        const auto found = components.factories.find(KeyOf(progId));
        if (found == components.factories.end()) return REGDB_E_CLASSNOTREG;
        factory = found->second;
    }
    component = factory();  // outside the lock: a factory may register or create others
    return component ? S_OK : E_FAIL;
} catch (...) {
    return E_FAIL;
}

}  // namespace mersola
