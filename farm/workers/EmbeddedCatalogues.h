#pragma once

#include <span>

#include "resources/EmbeddedResources.h"

namespace Weftline::Resources {

/// The catalogues that are built in, named as their files are. The build makes the table from the folder
/// `catalogues`.
std::span<const EmbeddedResource> EmbeddedCatalogues() noexcept;

}  // namespace Weftline::Resources
