#pragma once

#include <type_traits>

#include "Core/src/SubmitOperations.h"
#include "handlers/submit/SubmitJobHandler.h"
#include "platform/messaging/RegistrationParams.h"

namespace Weftline::Services::Scheduler {

/// What an operation says about itself to the bus: a message with a body. Throws `std::runtime_error` where a
/// document of its examples cannot be read.
PlatformAbstraction::RegistrationParams DescribeSubmission(const SubmitOperations::Row& operation);

/// Submits an operation whose job parameters may name a stored profile.
class ProfileSubmitHandler : public SubmitJobHandler {
public:
    using SubmitJobHandler::SubmitJobHandler;

protected:
    /// The job parameters with the values of the profile that their key `profile` names laid over them.
    /// Throws `ObjectStoreException` when there is none of that id, and `std::domain_error` when what is
    /// stored under it is no profile.
    CoreServices::Parameters ApplyProfile(const CoreServices::Parameters& jobParams) const override;
};

/// Submits an operation of the table: all that it has of its own stands in its row.
template <const SubmitOperations::Row& operation>
class SubmitOperationHandler final
    : public std::conditional_t<operation.mayNameProfile, ProfileSubmitHandler, SubmitJobHandler> {
    using Base = std::conditional_t<operation.mayNameProfile, ProfileSubmitHandler, SubmitJobHandler>;

public:
    using Base::Base;

    PlatformAbstraction::RegistrationParams GetRegistrationParams() const override {
        return DescribeSubmission(operation);
    }
};

using SubmitTranscodeHandler = SubmitOperationHandler<SubmitOperations::kTranscode>;
using SubmitConsolidateHandler = SubmitOperationHandler<SubmitOperations::kConsolidate>;
using SubmitMixdownHandler = SubmitOperationHandler<SubmitOperations::kMixdown>;
using SubmitRenderHandler = SubmitOperationHandler<SubmitOperations::kRender>;
using SubmitExportHandler = SubmitOperationHandler<SubmitOperations::kExport>;
using SubmitDataExtractHandler = SubmitOperationHandler<SubmitOperations::kDataExtract>;
using SubmitProxyCreationHandler = SubmitOperationHandler<SubmitOperations::kProxyCreation>;
using SubmitDynamicRelinkHandler = SubmitOperationHandler<SubmitOperations::kDynamicRelink>;
using SubmitVerifyAccessHandler = SubmitOperationHandler<SubmitOperations::kVerifyAccess>;
using SubmitExportQueryHandler = SubmitOperationHandler<SubmitOperations::kExportQuery>;
using SubmitVideoFormatsQueryHandler = SubmitOperationHandler<SubmitOperations::kVideoFormatsQuery>;
using SubmitAudioFormatsQueryHandler = SubmitOperationHandler<SubmitOperations::kAudioFormatsQuery>;
using SubmitSourceAvailabilityQueryHandler = SubmitOperationHandler<SubmitOperations::kSourceAvailability>;
using SubmitMobIDsFromContainerQueryHandler = SubmitOperationHandler<SubmitOperations::kMobIDsFromContainer>;
using SubmitSuitableMastersQueryHandler = SubmitOperationHandler<SubmitOperations::kSuitableMastersQuery>;

}  // namespace Weftline::Services::Scheduler
