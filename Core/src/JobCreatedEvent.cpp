#include "Core/src/JobCreatedEvent.h"

#include <cstdint>
#include <stdexcept>

#include "Core/src/Vocabulary.h"
#include "base/parameters/Parameters.h"

namespace Weftline::DataModel {

Record MakeJobCreatedEvent(const std::string& jobId, const std::string& jobQueue) {
    constexpr std::int32_t kVersion = 1;
    CoreServices::Parameters body;
    body.SetParameter(Keys::Id, jobId);
    body.SetParameter(Keys::JobQueue, jobQueue);

    Record event(std::string(RecordTypes::JobCreated), kVersion, std::string(Topics::JobEvents));
    event.recordData = body.toJSON();
    return event;
}

std::string ReadJobCreatedEvent(const Record& event) {
    std::string jobId;
    if (event.recordType == RecordTypes::JobCreated) {
        try {
            CoreServices::Parameters::fromJSON(event.recordData).GetParameter(Keys::Id, jobId);
        } catch (const std::runtime_error&) {
            // Broken JSON names no job.
        }
    }
    return jobId;
}

}  // namespace Weftline::DataModel
