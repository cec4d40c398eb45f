#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

namespace Weftline::Services {

/// A store of named documents. It exists so that the documentation's failures can be had without breaking the
/// program: the one of the program carries its documents in its binary and never fails to load or to lock.
/// Implementations are read-only and may be asked on any thread.
class ResourceStore {
public:
    using Handle = std::size_t;

    ResourceStore() = default;
    ResourceStore(const ResourceStore&) = delete;
    ResourceStore& operator=(const ResourceStore&) = delete;
    virtual ~ResourceStore() = default;

    /// The document of that name and type; nothing where there is none. Both are case-sensitive.
    [[nodiscard]] virtual std::optional<Handle> Find(std::string_view name, std::string_view type) const = 0;
    /// Makes the document's bytes available. False on failure.
    [[nodiscard]] virtual bool Load(Handle resource) const = 0;
    /// The bytes of a loaded document, valid as long as the store; nothing on failure.
    [[nodiscard]] virtual std::optional<std::string_view> Lock(Handle resource) const = 0;
};

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
