#pragma once

#include <string_view>

/// What the services of the local farm say to each other on the bus, beyond the vocabulary that they share
/// with the scheduler. All messages go to version 1 in the realm of the scheduler.
///
/// Where farms share a store, one of them has the lease of the coordinator, and its number, as the text
/// `farmLease`, stands in what that coordinator changes and hands out.
///
/// A worker reports in with the coordinator by the notification `workerReport`: `id`, `machine`, `tag`,
/// `workerKind` (the service that its tasks go to), `metadataOnly`, `processID`; one report for each task
/// that can be carried out at a time. Where other farms are on the bus it is a broadcast, comes again about
/// every second, and says too where tasks for that worker alone go (`taskRealm`) and which jobs it is at
/// (`jobIds`); a worker that is silent for long is no more counted upon.
///
/// The coordinator hands out a task by the request `performTask` to the worker's service: `jobId`,
/// `workerId`, `taskKind`, `jobKind`, and the job's `processingData` as a child tree; `farmLease` where there
/// is a lease. The answer comes when
/// the task is done (an empty tree), or is an error whose text is the reason of the failure; the code
/// "SERVICE_STOPPING" says that the worker ends and the task has not failed. A task may be handed out again
/// for the same job after a restart: the worker then does what is still missing. A media job has two tasks,
/// one after the other: its evaluation by a metadata worker, under the job's evaluation task kind, and the
/// work itself.
///
/// Meanwhile the worker tells how far it is by the notification `taskProgress` to the coordinator: `jobId`,
/// `progress` in percent.
namespace Quillon::Farm {

namespace Operations {
inline constexpr std::string_view WorkerReport = "workerReport";
inline constexpr std::string_view PerformTask = "performTask";
inline constexpr std::string_view TaskProgress = "taskProgress";
}  // namespace Operations

namespace Keys {
inline constexpr std::string_view JobId = "jobId";
inline constexpr std::string_view WorkerId = "workerId";
inline constexpr std::string_view TaskKind = "taskKind";
inline constexpr std::string_view FailureReason = "failureReason";
inline constexpr std::string_view Unreadable = "unreadable";
inline constexpr std::string_view FarmLease = "farmLease";
inline constexpr std::string_view TaskRealm = "taskRealm";
inline constexpr std::string_view JobIds = "jobIds";
}  // namespace Keys

/// The version of every service of the farm that is addressed in the scheduler's realm.
inline constexpr int kServiceVersion = 1;

}  // namespace Quillon::Farm
