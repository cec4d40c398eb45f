#pragma once

#include <string>

#include "Core/src/wf_Record.h"

namespace Weftline::DataModel {

/// The event that makes a stored job known to the farm, with an id of its own. `jobId` is the id of the job's
/// record; a reader finds the rest of the job there.
Record MakeJobCreatedEvent(const std::string& jobId, const std::string& jobQueue);

/// The id of the job that the event announces; empty where it announces none.
std::string ReadJobCreatedEvent(const Record& event);

}  // namespace Weftline::DataModel
