#pragma once

#include <string_view>

#include "Core/src/SubmitOperations.h"

/// What jobs and tasks of the farm are called. All texts are views of literals; compare them as texts, never
/// by address.
namespace Weftline {

/// What a job is.
namespace JobKinds {
inline constexpr std::string_view Transcode = SubmitOperations::kTranscode.jobKind;
inline constexpr std::string_view Consolidate = SubmitOperations::kConsolidate.jobKind;
inline constexpr std::string_view Mixdown = SubmitOperations::kMixdown.jobKind;
inline constexpr std::string_view Render = SubmitOperations::kRender.jobKind;
inline constexpr std::string_view Export = SubmitOperations::kExport.jobKind;
inline constexpr std::string_view DataExtract = SubmitOperations::kDataExtract.jobKind;
inline constexpr std::string_view ProxyCreation = SubmitOperations::kProxyCreation.jobKind;
inline constexpr std::string_view DynamicRelink = SubmitOperations::kDynamicRelink.jobKind;
inline constexpr std::string_view VerifyAccess = SubmitOperations::kVerifyAccess.jobKind;
inline constexpr std::string_view ExportQuery = SubmitOperations::kExportQuery.jobKind;
inline constexpr std::string_view VideoFormatsQuery = SubmitOperations::kVideoFormatsQuery.jobKind;
inline constexpr std::string_view AudioFormatsQuery = SubmitOperations::kAudioFormatsQuery.jobKind;
inline constexpr std::string_view SourceAvailability = SubmitOperations::kSourceAvailability.jobKind;
inline constexpr std::string_view MobIDsFromContainer = SubmitOperations::kMobIDsFromContainer.jobKind;
inline constexpr std::string_view SuitableMastersQuery = SubmitOperations::kSuitableMastersQuery.jobKind;

// Submitted by other services of the farm.
inline constexpr std::string_view DynamicFormatExport = "orvik.quillon.dynamicformatexport";
inline constexpr std::string_view EnumerateBin = "orvik.quillon.metadata.enumeratebin";
inline constexpr std::string_view MetadataCleanup = "orvik.quillon.metadata.cleanup";
inline constexpr std::string_view BuildProfileQuery = "orvik.quillon.metadata.buildprofilequery";
inline constexpr std::string_view StoreProfileQuery = "orvik.quillon.metadata.storeprofilequery";
inline constexpr std::string_view CreatePresetFromDraft = "orvik.quillon.metadata.createpresetfromdraft";
inline constexpr std::string_view PresetValidation = "orvik.quillon.metadata.presetvalidation";
}  // namespace JobKinds

/// The task that evaluates a job.
namespace EvalTaskKinds {
inline constexpr std::string_view ExportQuery = SubmitOperations::kExportQuery.evalTaskKind;
inline constexpr std::string_view VideoFormatsQuery = SubmitOperations::kVideoFormatsQuery.evalTaskKind;
inline constexpr std::string_view AudioFormatsQuery = SubmitOperations::kAudioFormatsQuery.evalTaskKind;
inline constexpr std::string_view SourceAvailability = SubmitOperations::kSourceAvailability.evalTaskKind;
inline constexpr std::string_view MobIDsFromContainer = SubmitOperations::kMobIDsFromContainer.evalTaskKind;
inline constexpr std::string_view SuitableMastersQuery = SubmitOperations::kSuitableMastersQuery.evalTaskKind;
}  // namespace EvalTaskKinds

/// What workers run.
namespace TaskKinds {
inline constexpr std::string_view Transcode = SubmitOperations::kTranscode.mediaTask.kind;
inline constexpr std::string_view Consolidate = SubmitOperations::kConsolidate.mediaTask.kind;
inline constexpr std::string_view RenderVideo = SubmitOperations::kRender.mediaTask.kind;
inline constexpr std::string_view Mixdown = SubmitOperations::kMixdown.mediaTask.kind;
inline constexpr std::string_view Export = SubmitOperations::kExport.mediaTask.kind;
inline constexpr std::string_view DataExtract = SubmitOperations::kDataExtract.mediaTask.kind;
inline constexpr std::string_view ProxyCreation = SubmitOperations::kProxyCreation.mediaTask.kind;
}  // namespace TaskKinds

/// Names of jobs that other services submit.
namespace JobNames {
inline constexpr std::string_view DynamicFormatExport = "DynamicFormatExport";
inline constexpr std::string_view BringPendingMobsOnline = "BringPendingMobsOnline";
inline constexpr std::string_view EnumerateBin = "EnumerateBin";
inline constexpr std::string_view MetadataCleanup = "MetadataCleanup";
inline constexpr std::string_view PresetValidation = "PresetValidation";
inline constexpr std::string_view CreatePresetFromDraft = "CreatePresetFromDraft";
}  // namespace JobNames

/// The states that a job goes through. This service stores jobs with a blank state and compares none of
/// these.
namespace JobStates {
inline constexpr std::string_view Created = "Created";
inline constexpr std::string_view Readied = "Readied";
inline constexpr std::string_view Evaluated = "Evaluated";
inline constexpr std::string_view Tasked = "Tasked";
inline constexpr std::string_view Suspended = "Suspended";
inline constexpr std::string_view Completed = "Completed";
inline constexpr std::string_view Failed = "Failed";
inline constexpr std::string_view Canceled = "Canceled";
}  // namespace JobStates

namespace DefaultJobQueue {
inline constexpr std::string_view Id = "c52a7f6e-c32a-45da-8716-c06c79af3a98";
inline constexpr std::string_view Description = "This is the default job queue";
}  // namespace DefaultJobQueue

namespace DefaultWorkerGroup {
inline constexpr std::string_view Id = "c2df42f6-7e27-42e4-bba2-031a1dfa3d4a";
inline constexpr std::string_view Description = "This is the default worker group";
}  // namespace DefaultWorkerGroup

}  // namespace Weftline
