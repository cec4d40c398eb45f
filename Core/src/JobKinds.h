#pragma once

#include <array>
#include <string_view>

/// What jobs and tasks of the farm are called, and the operations that make jobs of them. All texts are views
/// of literals; compare them as texts, never by address.
namespace Weftline {

/// What a job is.
namespace JobKinds {
inline constexpr std::string_view Transcode = "orvik.quillon.transcode";
inline constexpr std::string_view Consolidate = "orvik.quillon.consolidate";
inline constexpr std::string_view Mixdown = "orvik.quillon.mixdown";
inline constexpr std::string_view Render = "orvik.quillon.render";
inline constexpr std::string_view Export = "orvik.quillon.export";
inline constexpr std::string_view DataExtract = "orvik.quillon.dataextract";
inline constexpr std::string_view ProxyCreation = "orvik.quillon.proxycreation";
inline constexpr std::string_view DynamicRelink = "orvik.quillon.metadata.dynamicrelink";
inline constexpr std::string_view VerifyAccess = "orvik.quillon.metadata.verifyaccess";
inline constexpr std::string_view ExportQuery = "orvik.quillon.metadata.query.export";
inline constexpr std::string_view VideoFormatsQuery = "orvik.quillon.metadata.query.video";
inline constexpr std::string_view AudioFormatsQuery = "orvik.quillon.metadata.query.audio";
inline constexpr std::string_view SourceAvailability = "orvik.quillon.metadata.sourceavailability";
inline constexpr std::string_view MobIDsFromContainer = "orvik.quillon.metadata.mobidsfromcontainer";
inline constexpr std::string_view SuitableMastersQuery = "orvik.quillon.metadata.query.suitablemasters";

// Submitted by other services of the farm.
inline constexpr std::string_view DynamicFormatExport = "orvik.quillon.dynamicformatexport";
inline constexpr std::string_view EnumerateBin = "orvik.quillon.metadata.enumeratebin";
inline constexpr std::string_view MetadataCleanup = "orvik.quillon.metadata.cleanup";
inline constexpr std::string_view BuildProfileQuery = "orvik.quillon.metadata.buildprofilequery";
inline constexpr std::string_view StoreProfileQuery = "orvik.quillon.metadata.storeprofilequery";
inline constexpr std::string_view CreatePresetFromDraft = "orvik.quillon.metadata.createpresetfromdraft";
inline constexpr std::string_view PresetValidation = "orvik.quillon.metadata.presetvalidation";

// Known to the listing of jobs alone.
inline constexpr std::string_view Relink = "orvik.quillon.relink";
inline constexpr std::string_view Procedure = "orvik.quillon.procedure";
inline constexpr std::string_view AudioExtract = "orvik.quillon.audioextract";
inline constexpr std::string_view FileToFileConversion = "orvik.quillon.filetofileconversion";
inline constexpr std::string_view SpeechToText = "orvik.quillon.speechtotext";
}  // namespace JobKinds

/// The task that evaluates a job. Two depart from the pattern: mixdown has an "eval" of its own, and the
/// export query asks for "exporttypes".
namespace EvalTaskKinds {
inline constexpr std::string_view Transcode = "orvik.quillon.task.metadata.transcode";
inline constexpr std::string_view Consolidate = "orvik.quillon.task.metadata.consolidate";
inline constexpr std::string_view Mixdown = "orvik.quillon.task.metadata.eval.mixdown";
inline constexpr std::string_view Render = "orvik.quillon.task.metadata.render";
inline constexpr std::string_view Export = "orvik.quillon.task.metadata.export";
inline constexpr std::string_view DataExtract = "orvik.quillon.task.metadata.dataextract";
inline constexpr std::string_view ProxyCreation = "orvik.quillon.task.metadata.proxycreation";
inline constexpr std::string_view DynamicRelink = "orvik.quillon.task.metadata.dynamicrelink";
inline constexpr std::string_view VerifyAccess = "orvik.quillon.task.metadata.verifyaccess";
inline constexpr std::string_view ExportQuery = "orvik.quillon.task.metadata.query.exporttypes";
inline constexpr std::string_view VideoFormatsQuery = "orvik.quillon.task.metadata.query.video";
inline constexpr std::string_view AudioFormatsQuery = "orvik.quillon.task.metadata.query.audio";
inline constexpr std::string_view SourceAvailability = "orvik.quillon.task.metadata.sourceavailability";
inline constexpr std::string_view MobIDsFromContainer = "orvik.quillon.task.metadata.mobidsfromcontainer";
inline constexpr std::string_view SuitableMastersQuery = "orvik.quillon.task.metadata.query.suitablemasters";
}  // namespace EvalTaskKinds

/// What workers run.
namespace TaskKinds {
inline constexpr std::string_view Transcode = "orvik.quillon.task.transcode";
inline constexpr std::string_view Consolidate = "orvik.quillon.task.consolidate";
inline constexpr std::string_view RenderVideo = "orvik.quillon.task.render.video";
inline constexpr std::string_view RenderAudio = "orvik.quillon.task.render.audio";
inline constexpr std::string_view Mixdown = "orvik.quillon.task.mixdown";
inline constexpr std::string_view MixdownVideo = "orvik.quillon.task.mixdown.video";
inline constexpr std::string_view MixdownAudio = "orvik.quillon.task.mixdown.audio";
inline constexpr std::string_view MixdownData = "orvik.quillon.task.mixdown.data";
inline constexpr std::string_view Export = "orvik.quillon.task.export";
inline constexpr std::string_view DataExtract = "orvik.quillon.task.dataextract";
inline constexpr std::string_view ProxyCreation = "orvik.quillon.task.proxycreation";
}  // namespace TaskKinds

/// Names of jobs: a stored job's name, and the first word when it could not be stored.
namespace JobNames {
inline constexpr std::string_view Transcode = "Transcode";
inline constexpr std::string_view Consolidate = "Consolidate";
inline constexpr std::string_view Mixdown = "Mixdown";
inline constexpr std::string_view Render = "Render";
inline constexpr std::string_view Export = "Export";
inline constexpr std::string_view DataExtract = "DataExtract";
inline constexpr std::string_view ProxyCreation = "ProxyCreation";
inline constexpr std::string_view DynamicRelink = "DynamicRelink";
inline constexpr std::string_view VerifyAccess = "VerifyAccessToMedia";
inline constexpr std::string_view ExportQuery = "ExportQuery";
inline constexpr std::string_view VideoFormatsQuery = "VideoFormatsQuery";
inline constexpr std::string_view AudioFormatsQuery = "AudioFormatsQuery";
inline constexpr std::string_view SourceAvailability = "SourceAvailability";
inline constexpr std::string_view MobIDsFromContainer = "MobIDsFromContainer";
inline constexpr std::string_view SuitableMastersQuery = "SuitableMastersQuery";

// Of jobs that other services submit.
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

/// The operations that clients can submit, each a row of what makes its jobs differ from others.
namespace SubmitOperations {

struct Row {
    std::string_view jobKind;
    std::string_view evalTaskKind;
    std::string_view name;
    bool failJobDefault;  ///< of `failJobOnFirstFailedTask`, where a request does not say
};

inline constexpr Row kTranscode{JobKinds::Transcode, EvalTaskKinds::Transcode, JobNames::Transcode, true};
inline constexpr Row kConsolidate{JobKinds::Consolidate, EvalTaskKinds::Consolidate, JobNames::Consolidate,
                                  true};
inline constexpr Row kMixdown{JobKinds::Mixdown, EvalTaskKinds::Mixdown, JobNames::Mixdown, true};
inline constexpr Row kRender{JobKinds::Render, EvalTaskKinds::Render, JobNames::Render, true};
inline constexpr Row kExport{JobKinds::Export, EvalTaskKinds::Export, JobNames::Export, true};
inline constexpr Row kDataExtract{JobKinds::DataExtract, EvalTaskKinds::DataExtract, JobNames::DataExtract,
                                  true};
inline constexpr Row kProxyCreation{JobKinds::ProxyCreation, EvalTaskKinds::ProxyCreation,
                                    JobNames::ProxyCreation, false};
inline constexpr Row kDynamicRelink{JobKinds::DynamicRelink, EvalTaskKinds::DynamicRelink,
                                    JobNames::DynamicRelink, true};
inline constexpr Row kVerifyAccess{JobKinds::VerifyAccess, EvalTaskKinds::VerifyAccess,
                                   JobNames::VerifyAccess, true};
inline constexpr Row kExportQuery{JobKinds::ExportQuery, EvalTaskKinds::ExportQuery, JobNames::ExportQuery,
                                  true};
inline constexpr Row kVideoFormatsQuery{JobKinds::VideoFormatsQuery, EvalTaskKinds::VideoFormatsQuery,
                                        JobNames::VideoFormatsQuery, true};
inline constexpr Row kAudioFormatsQuery{JobKinds::AudioFormatsQuery, EvalTaskKinds::AudioFormatsQuery,
                                        JobNames::AudioFormatsQuery, true};
inline constexpr Row kSourceAvailability{JobKinds::SourceAvailability, EvalTaskKinds::SourceAvailability,
                                         JobNames::SourceAvailability, true};
inline constexpr Row kMobIDsFromContainer{JobKinds::MobIDsFromContainer, EvalTaskKinds::MobIDsFromContainer,
                                          JobNames::MobIDsFromContainer, true};
inline constexpr Row kSuitableMastersQuery{JobKinds::SuitableMastersQuery,
                                           EvalTaskKinds::SuitableMastersQuery,
                                           JobNames::SuitableMastersQuery, true};

/// All of them, in the order of their registration.
inline constexpr std::array kAll{
    kTranscode,
    kConsolidate,
    kMixdown,
    kRender,
    kExport,
    kDataExtract,
    kProxyCreation,
    kDynamicRelink,
    kVerifyAccess,
    kExportQuery,
    kVideoFormatsQuery,
    kAudioFormatsQuery,
    kSourceAvailability,
    kMobIDsFromContainer,
    kSuitableMastersQuery,
};

}  // namespace SubmitOperations

/// The name under which a report shows a task that workers run; empty for every other kind, the evaluation
/// tasks included. The whole text counts, and its case.
std::string_view TaskDisplayName(std::string_view taskKind);

}  // namespace Weftline
