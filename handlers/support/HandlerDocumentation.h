#pragma once

#include <string>
#include <string_view>

#include "Core/src/SubmitOperations.h"
#include "base/parameters/Parameters.h"
#include "handlers/support/ResourceStore.h"

namespace Weftline::Services {

// The example requests that handlers publish with their registration. For the job operations they are the
// only written form of the parameters that a worker expects. Their placeholders stand for a person to
// replace. Nothing is cached; any thread may call.

/// The root path that stands in the examples.
inline constexpr std::string_view kExampleRootPath = "C:\\temp";

/// The JSON document of that name. Throws `std::runtime_error` when it is not there, cannot be loaded or
/// locked, or is not JSON.
CoreServices::Parameters LoadJsonDocumentation(
    const std::string& resourceName, const ResourceStore& store = EmbeddedResourceStore::Instance());

/// A complete example request around the document of that name, which becomes `JobParams`. Fails as
/// `LoadJsonDocumentation` does.
CoreServices::Parameters BuildDocumentedExample(const std::string& resourceName);

/// The e-mail settings that stand in the examples.
CoreServices::Parameters BuildEmailSettingsExample();

/// A shorter example request around `jobParams`, under the key of that name.
CoreServices::Parameters BuildJobExample(const CoreServices::Parameters& jobParams);

/// A tree of plain values, in the order given.
CoreServices::Parameters TreeOf(const SubmitOperations::Fields& values);

}  // namespace Weftline::Services
