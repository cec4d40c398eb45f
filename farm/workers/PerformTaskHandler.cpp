#include "farm/workers/PerformTaskHandler.h"

#include <exception>
#include <utility>

#include "Core/src/JobKinds.h"
#include "Core/src/Vocabulary.h"
#include "farm/protocol/FarmProtocol.h"
#include "farm/protocol/FarmRequests.h"
#include "farm/workers/WorkerLog.h"
#include "platform/messaging/RegParamsBuilder.h"

namespace Quillon::Farm {

using CoreServices::Parameters;

namespace {

Task ReadTask(const Parameters& request) {
    return {RequiredValue<std::string>(request, Keys::JobId),
            RequiredValue<std::string>(request, Keys::TaskKind),
            request.GetChildParameters(Weftline::Keys::ProcessingData)};
}

Parameters ExampleRequest() {
    Parameters example;
    example.SetParameter(Keys::JobId, "c38c9b22-8000-440a-8f25-4a5a6907da19");
    example.SetParameter(Keys::TaskKind, Weftline::TaskKinds::Transcode);
    example.SetChildParameters(Weftline::Keys::ProcessingData, Parameters());
    return example;
}

}  // namespace

PerformTaskHandler::PerformTaskHandler(std::shared_ptr<const WorkerLog> log) : m_pLog(std::move(log)) {}

PlatformAbstraction::RegistrationParams PerformTaskHandler::GetRegistrationParams() const {
    return PlatformAbstraction::RegParamsBuilder()
        .SetName(std::string(Operations::PerformTask))
        .SetDescription("Carries out one task of a job")
        .AddExample({"carry out a task", ExampleRequest()})
        .GetResult();
}

Parameters PerformTaskHandler::HandleMessageV2(
    const Parameters& request, std::shared_ptr<PlatformAbstraction::Messaging::MessageContext> context) {
    const Task task = ReadTask(request);
    const std::string about = "task \"" + task.kind + "\" of the job " + task.jobId;
    m_pLog->Tell(about + " begins");
    try {
        CarryOut(task, *context->GetContextBusMessaging());
    } catch (const std::exception& failure) {
        m_pLog->Tell(about + " ends: " + failure.what());
        throw;
    }
    m_pLog->Tell(about + " is done");
    return {};
}

}  // namespace Quillon::Farm
