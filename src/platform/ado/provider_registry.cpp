// The process's register of providers.
#include "provider_registry.h"

#include <algorithm>
#include <mutex>

namespace mersola::ado {
namespace {

struct Entry {
    std::string name;
    std::shared_ptr<Provider> provider;
};

struct Registry {
    std::mutex mutex;
    std::vector<Entry> entries;
};

Registry& TheRegistry() {
    static Registry instance;
    return instance;
}

}  // namespace

void RegisterProvider(const std::string& name, std::shared_ptr<Provider> provider) {
    Registry& registry = TheRegistry();
    const std::lock_guard lock(registry.mutex);
    const auto found = std::ranges::find_if(
        registry.entries, [&](const Entry& entry) { return EqualNoCase(entry.name, name); });
    if (found != registry.entries.end()) {
        found->provider = std::move(provider);
    } else {
        registry.entries.push_back({name, std::move(provider)});
    }
}

std::shared_ptr<Provider> FindProvider(std::string_view name) {
    static std::once_flag builtinsRegistered;
    std::call_once(builtinsRegistered, RegisterBuiltinProviders);
    Registry& registry = TheRegistry();
    const std::lock_guard lock(registry.mutex);
    std::string known;
    for (const Entry& entry : registry.entries) {
        if (EqualNoCase(entry.name, name)) return entry.provider;
        if (entry.name.empty()) continue;
        known += (known.empty() ? "" : ", ") + entry.name;
    }
    std::string what = name.empty() ? "The connection string names no provider"
                                    : "The provider '" + std::string(name) + "' is not known";
    throw _com_error(adErrProviderNotFound, (what + "; Provider= can be one of: " + known).c_str(),
                     "mersola");
}

}  // namespace mersola::ado
