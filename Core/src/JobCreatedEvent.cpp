#include "JobCreatedEvent.h"

#include <cstdint>

#include "Parameters.h"
#include "Vocabulary.h"

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

}  // namespace Weftline::DataModel
