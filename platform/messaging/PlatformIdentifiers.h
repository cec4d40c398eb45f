#pragma once

#include <string>

#include "base/parameters/Parameters.h"

namespace PlatformAbstraction {

/// A new UUID (version 7) in its canonical text form: its first part grows with the time, so that what is
/// kept under such ids is kept together with its neighbours in time; 62 bits of it are random. Any thread may
/// call.
std::string CreateGuidAsString();

/// The setting `metadatarootpath` with its `%NAME%` replaced from the environment; an unset `PUBLIC` stands
/// for `$XDG_DATA_HOME`, else `$HOME/.local/share`, else `/var/lib`. Touches no file system.
std::string MetadataRootPath();

/// `<root>/<clientKey>`, where the root is the text `rootPath` of the request if it names one, else
/// `MetadataRootPath()`. Touches no file system.
std::string GetMetadataDir(const CoreServices::Parameters& request, const std::string& clientKey);

}  // namespace PlatformAbstraction
