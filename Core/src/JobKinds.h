#pragma once

#include <string_view>

/// What jobs of the farm are called that this service does not submit, the states of all, and the defaults of
/// the farm; what it does submit stands in SubmitOperations.h. All texts are views of literals; compare them
/// as texts, never by address.
namespace Weftline {

/// What a job is.
namespace JobKinds {
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
