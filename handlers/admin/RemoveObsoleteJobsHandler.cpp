#include "handlers/admin/RemoveObsoleteJobsHandler.h"

#include <exception>
#include <string>
#include <utility>

#include "Core/src/Vocabulary.h"
#include "handlers/admin/PurgeObsoleteJobs.h"
#include "handlers/support/ConsoleLines.h"
#include "handlers/support/HandlerDocumentation.h"
#include "platform/jobmanager/JobManager.h"
#include "platform/messaging/RegParamsBuilder.h"

namespace Weftline::Services::Scheduler {

using CommonServices::JobManager;
using CoreServices::Parameters;
using PlatformAbstraction::RegistrationParams;
using PlatformAbstraction::RegParamsBuilder;
using PlatformAbstraction::Messaging::BusConnection;
using PlatformAbstraction::Messaging::MessageContext;
using PlatformAbstraction::Messaging::ServiceMessageResponse;

namespace {

constexpr std::string_view kName = "RemoveObsoleteJobs";

}  // namespace

RemoveObsoleteJobsHandler::RemoveObsoleteJobsHandler(std::shared_ptr<BusConnection> messagingService,
                                                     ThreadStarter startThread)
    : m_pMessagingService(std::move(messagingService)), m_startThread(std::move(startThread)) {}

RegistrationParams RemoveObsoleteJobsHandler::GetRegistrationParams() const {
    return RegParamsBuilder()
        .SetName(std::string(kName))
        .SetDescription("Purge obsolete jobs from orvik.job.manager service")
        .AddExample({std::string(kName), TreeOf({{Keys::CreationDate, "1970-01-01T02:00:00"},
                                                 {Keys::Kind, Placeholders::JobKind}})})
        .GetResult();
}

bool RemoveObsoleteJobsHandler::HandleMessage(std::shared_ptr<MessageContext> context,
                                              const Parameters& request, ServiceMessageResponse& response) {
    try {
        auto jobManager = std::make_shared<JobManager>();
        m_startThread([request, jobManager = std::move(jobManager), context = std::move(context)] {
            PurgeObsoleteJobs(request, jobManager, context);
        });
        response.RespondOK();
    } catch (const std::exception& failure) {
        RespondErrorAndPrint(response, std::string(ErrorCodes::Unknown), failure.what());
    } catch (...) {
        RespondErrorAndPrint(response, std::string(ErrorCodes::Unknown), "Unexpected");
    }
    return true;
}

}  // namespace Weftline::Services::Scheduler
