#pragma once

#include "handlers/support/ResourceStore.h"

namespace Weftline::Services {

/// The documents carried in the program's own binary.
class EmbeddedResourceStore final : public ResourceStore {
public:
    /// The one of the process.
    static const EmbeddedResourceStore& Instance();

    std::optional<Handle> Find(std::string_view name, std::string_view type) const override;
    bool Load(Handle resource) const override;
    std::optional<std::string_view> Lock(Handle resource) const override;
};

}  // namespace Weftline::Services
