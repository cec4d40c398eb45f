#include "handlers/support/ResourceStore.h"

#include <algorithm>

#include "resources/EmbeddedResources.h"

namespace Weftline::Services {

using Resources::EmbeddedResource;
using Resources::EmbeddedResources;

const EmbeddedResourceStore& EmbeddedResourceStore::Instance() {
    static const EmbeddedResourceStore store;
    return store;
}

std::optional<ResourceStore::Handle> EmbeddedResourceStore::Find(std::string_view name,
                                                                 std::string_view type) const {
    const auto resources = EmbeddedResources();
    const auto found = std::find_if(
        resources.begin(), resources.end(),
        [&](const EmbeddedResource& resource) { return resource.name == name && resource.type == type; });
    if (found == resources.end()) {
        return std::nullopt;
    }
    return static_cast<Handle>(found - resources.begin());
}

bool EmbeddedResourceStore::Load(Handle resource) const {
    return resource < EmbeddedResources().size();
}

std::optional<std::string_view> EmbeddedResourceStore::Lock(Handle resource) const {
    return EmbeddedResources()[resource].bytes;
}

}  // namespace Weftline::Services
