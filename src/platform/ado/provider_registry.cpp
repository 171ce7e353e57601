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

namespace {

// The register, with the built-in providers, which may have been replaced since.
Registry& FilledRegistry() {
    static std::once_flag filled;
    std::call_once(filled, RegisterBuiltinProviders);
    return TheRegistry();
}

}  // namespace

std::shared_ptr<Provider> FindProvider(std::string_view name) {
    Registry& registry = FilledRegistry();
    {
        const std::lock_guard lock(registry.mutex);
        for (const Entry& entry : registry.entries) {
            if (EqualNoCase(entry.name, name)) return entry.provider;
        }
    }
    std::string what = name.empty() ? "The connection string names no provider"
                                    : "The provider '" + std::string(name) + "' is not known";
    throw _com_error(adErrProviderNotFound,
                     (what + "; Provider= can be one of: " + ProviderNames()).c_str(), "mersola");
}

std::string ProviderNames() {
    Registry& registry = FilledRegistry();
    const std::lock_guard lock(registry.mutex);
    std::string names;
    for (const Entry& entry : registry.entries) {
        if (!entry.name.empty()) names += (names.empty() ? "" : ", ") + entry.name;
    }
    return names;
}

}  // namespace mersola::ado
