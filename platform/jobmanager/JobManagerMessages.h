#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "base/parameters/Parameters.h"

/// What a job manager is asked over the bus, beyond the vocabulary that all services share. It is the service
/// that the setting `jobmanagerservicename` names, in the realm "global", version 1. A caller's identity goes
/// with each request as the child tree `identity`, unless it is unknown.
///
/// `findJobsByKind`: one page of the jobs of a kind, in an order that stays the same between pages.
///
///     {"kind":"orvik.quillon.transcode","offset":0,"limit":25,"identity":{...}}
///     {"results":[{"id":"...","clientKey":"...","kind":"...",
///                  "creationDateTime":"2024-05-06T07:08:09.000Z","completedDateTime":"",
///                  "createdBy":"...","name":"...","status":"Completed","priority":50,"progress":100,
///                  "info":{},"details":{"SubTaskJobIDs":["..."]}}],
///      "limit":25,"total":1}
///
/// `results` and `total` are always there; `results` holds trees, each with an `id`, all else of a job may be
/// missing. `total` counts all jobs of the kind. `limit` is the size of page that the manager went by, where
/// it is not the one asked for. `creationDateTime` is UTC, down to the second and followed by a tail of at
/// least five characters (".000Z", or a fraction of six digits), which nobody reads: a job whose date has
/// none counts as one of unknown age and is never purged.
///
/// `details` names the subtask jobs, or the first of them: where `moreSubTasks` is there and true, `findJobs`
/// lists them all.
///
/// `findJobs`: one page of the subtask jobs of a job, in an order that stays the same between pages.
///
///     {"offset":0,"limit":100,"body":{"parent":{"id":"..."}}}
///     {"results":[{"id":"...",...}]}
///
/// `removeJob`: takes the job away.
///
///     {"id":"...","identity":{...}}
///     {"id":"..."}
///
/// An answer with at least one key says that it is done.
namespace CommonServices {

inline constexpr std::int32_t kJobManagerVersion = 1;

namespace JobManagerOperations {
inline constexpr std::string_view FindJobsByKind = "findJobsByKind";
}  // namespace JobManagerOperations

namespace JobManagerKeys {
inline constexpr std::string_view CreationDateTime = "creationDateTime";
inline constexpr std::string_view Details = "details";
inline constexpr std::string_view Info = "info";
inline constexpr std::string_view MoreSubTasks = "moreSubTasks";
inline constexpr std::string_view Total = "total";
}  // namespace JobManagerKeys

/// What the job manager tells of one job. A value.
struct JobInfo {
    std::string jobId;
    std::string clientKey;
    std::string kind;
    std::string creationDateTime;
    std::string completedDateTime;
    std::string createdBy;
    std::string name;
    std::string status;
    std::int32_t priority = 0;
    std::int32_t progress = 0;         ///< percent
    CoreServices::Parameters info;     ///< for people
    CoreServices::Parameters details;  ///< for programs: `SubTaskJobIDs`, `moreSubTasks`
};

/// The job as a tree, with every key. For whoever answers in the job manager's place.
CoreServices::Parameters WriteJobInfo(const JobInfo& job);

/// Throws `std::runtime_error` where the id is missing, empty or no text. Every other value that is missing,
/// null or of another type reads as blank.
JobInfo ReadJobInfo(const CoreServices::Parameters& tree);

/// How far a job is, as far as it matters to whoever administers jobs.
enum class JobStatus : std::int32_t {
    Unknown = 0,
    InProgress = 1,
    Completed = 2,
    Failed = 3,
    Suspended = 4,
    Canceled = 5,
};

/// The status that the state of a job stands for; the states of a job at work all are `InProgress`. Every
/// text that is no job state, also one in another letter case, is `Unknown`.
JobStatus StrToJobStatus(std::string_view text);

}  // namespace CommonServices
