#pragma once

#include <string_view>

#include "Core/src/FormatKeys.h"

/// The words that the services of the farm share, each defined once and used by its name here. All are
/// views of literals; compare them as texts, never by address. Keys of formats are in FormatKeys.h,
/// kinds and states of jobs in JobKinds.h and SubmitOperations.h.
namespace Weftline {

/// Keys of requests, answers and stored documents. A constant is spelled as its key, first letter in upper
/// case; where two keys differ in nothing else, the one that begins with an upper-case letter ends in
/// `Capital`.
namespace Keys {
// Submission.
inline constexpr std::string_view JobQueue = "jobQueue";
inline constexpr std::string_view Priority = "priority";
inline constexpr std::string_view FailJobOnFirstFailedTask = "failJobOnFirstFailedTask";
inline constexpr std::string_view ClientMachine = "clientMachine";
inline constexpr std::string_view RequiredWorkerMachine = "requiredWorkerMachine";
inline constexpr std::string_view ExcludedWorkerMachine = "excludedWorkerMachine";
inline constexpr std::string_view StoreJobSpecificOutputMetadataInJobMonitor =
    "storeJobSpecificOutputMetadataInJobMonitor";
inline constexpr std::string_view CompoundJobID = "CompoundJobID";
inline constexpr std::string_view Description = "description";
inline constexpr std::string_view DescriptionCapital = "Description";
inline constexpr std::string_view EmailSettingsParams = "emailSettingsParams";
inline constexpr std::string_view JobParams = "jobParams";
inline constexpr std::string_view JobParamsCapital = "JobParams";
inline constexpr std::string_view Profile = "profile";
inline constexpr std::string_view RootPath = "rootPath";
inline constexpr std::string_view ProcessingControlDirectoryPath = "processingControlDirectoryPath";
inline constexpr std::string_view MetadataDirectory = "metadataDirectory";

// The e-mail settings that travel with a job.
inline constexpr std::string_view EmailSMTPServer = "emailSMTPServer";
inline constexpr std::string_view EmailPort = "emailPort";
inline constexpr std::string_view EmailFromName = "emailFromName";
inline constexpr std::string_view EmailToAddresses = "emailToAddresses";
inline constexpr std::string_view EmailFromAddress = "emailFromAddress";

// Who is asking.
inline constexpr std::string_view Context = "context";
inline constexpr std::string_view Identity = "identity";
inline constexpr std::string_view IdentityId = "identityId";
inline constexpr std::string_view DisplayName = "displayName";
inline constexpr std::string_view Entity = "entity";

// Common to many messages.
inline constexpr std::string_view Body = "body";
inline constexpr std::string_view ClientKey = "clientKey";
inline constexpr std::string_view CreatedBy = "createdBy";
inline constexpr std::string_view Id = "id";
inline constexpr std::string_view Kind = "kind";
inline constexpr std::string_view Kinds = "kinds";
inline constexpr std::string_view Limit = "limit";
inline constexpr std::string_view Logging = "logging";
inline constexpr std::string_view Name = "name";
inline constexpr std::string_view Offset = "offset";
inline constexpr std::string_view Parent = "parent";
inline constexpr std::string_view QueryID = "queryID";
inline constexpr std::string_view Results = "results";
inline constexpr std::string_view Status = "status";
inline constexpr std::string_view Type = "type";
inline constexpr std::string_view Version = "version";

// Pages and lists of query results.
inline constexpr std::string_view ExportTypesList = "ExportTypesList";
inline constexpr std::string_view FormatsList = "FormatsList";
inline constexpr std::string_view FoundExportTypes = "FoundExportTypes";
inline constexpr std::string_view FoundFormats = "FoundFormats";
inline constexpr std::string_view MasterMobDescs = "masterMobDescs";
inline constexpr std::string_view PageOffset = "PageOffset";
inline constexpr std::string_view PageSize = "PageSize";

// Listing and purging of jobs.
inline constexpr std::string_view CreatedByAny = "createdByAny";
inline constexpr std::string_view CreationDate = "CreationDate";
inline constexpr std::string_view IsRoot = "isRoot";
inline constexpr std::string_view KindIsWeftline = "kindIsWeftline";
inline constexpr std::string_view ParentID = "parentID";
inline constexpr std::string_view SubTaskJobIDs = "SubTaskJobIDs";

// Profiles.
inline constexpr std::string_view IsProxy = "isProxy";
inline constexpr std::string_view Label = "label";
inline constexpr std::string_view Value = "value";

// Export plug-ins of a worker.
inline constexpr std::string_view ExportPlugins = "exportPlugins";
inline constexpr std::string_view FileExtensions = "fileExtensions";
inline constexpr std::string_view Group = "group";
inline constexpr std::string_view ManufacturerID = "manufacturerID";
inline constexpr std::string_view ManufacturerName = "manufacturerName";
inline constexpr std::string_view PluginGuid = "pluginGuid";
inline constexpr std::string_view ProductID = "productID";
inline constexpr std::string_view ProductName = "productName";

// A job's record.
inline constexpr std::string_view CompletedDateTime = "completedDateTime";
inline constexpr std::string_view CreatedDateTime = "createdDateTime";
inline constexpr std::string_view GlobalConfigContext = "globalConfigContext";
inline constexpr std::string_view JobBlueprintData = "jobBlueprintData";
inline constexpr std::string_view JobEvalTaskKind = "jobEvalTaskKind";
inline constexpr std::string_view JobKind = "jobKind";
inline constexpr std::string_view JobLastState = "jobLastState";
inline constexpr std::string_view JobMonitorID = "jobMonitorID";
inline constexpr std::string_view JobQueueName = "jobQueueName";
inline constexpr std::string_view JobRunCaseData = "jobRunCaseData";
inline constexpr std::string_view JobState = "jobState";
inline constexpr std::string_view ProcessingData = "processingData";
inline constexpr std::string_view Progress = "progress";

// A record as the store may spell it.
inline constexpr std::string_view ReadOnly = "readOnly";
inline constexpr std::string_view RecordData = "recordData";
inline constexpr std::string_view RecordID = "recordID";
inline constexpr std::string_view RecordModificationTime = "recordModificationTime";
inline constexpr std::string_view RecordPublicData = "recordPublicData";
inline constexpr std::string_view RecordTopic = "recordTopic";
inline constexpr std::string_view RecordType = "recordType";
inline constexpr std::string_view RecordVersion = "recordVersion";
inline constexpr std::string_view SystemCreated = "systemCreated";
inline constexpr std::string_view Tags = "tags";

// A worker as the coordinator reports it.
inline constexpr std::string_view Machine = "machine";
inline constexpr std::string_view MetadataOnly = "metadataOnly";
inline constexpr std::string_view ProcessID = "processID";
inline constexpr std::string_view Tag = "tag";
inline constexpr std::string_view Task = "task";
inline constexpr std::string_view Time = "time";
inline constexpr std::string_view User = "user";
inline constexpr std::string_view WorkerKind = "workerKind";

// The answer about the pool of workers; the keys of one worker are in `WorkerRow`.
inline constexpr std::string_view Count = "count";
inline constexpr std::string_view PartitionOK = "partitionOK";
inline constexpr std::string_view WorkerPoolInfo = "WorkerPoolInfo";
inline constexpr std::string_view Workers = "Workers";
inline constexpr std::string_view WorkerStatusJobID = "workerStatusJobID";

// Configuration of the farm.
inline constexpr std::string_view ConnectionURL = "connectionURL";
inline constexpr std::string_view DolmexConnectionURL = "DolmexConnectionURL";
inline constexpr std::string_view TurnOnRemoteLogging = "turnOnRemoteLogging";

// What a failed question to another service is reported with.
inline constexpr std::string_view ErrorDetails = "ErrorDetails";
inline constexpr std::string_view ErrorString = "ErrorString";

// Parameters of jobs, as the examples show them.
inline constexpr std::string_view CompositionMetadataFilePath = "CompositionMetadataFilePath";
inline constexpr std::string_view HandleLength_optional = "HandleLength_optional";
inline constexpr std::string_view InputMetadataFile = "inputMetadataFile";
inline constexpr std::string_view InputMetadataFilePath = "InputMetadataFilePath";
inline constexpr std::string_view InputMobIDs = "inputMobIDs";
inline constexpr std::string_view InputMobIDsCapital = "InputMobIDs";
inline constexpr std::string_view SaveMobsMetadataFilePath = "SaveMobsMetadataFilePath";
inline constexpr std::string_view SkipAudio = "SkipAudio";
inline constexpr std::string_view SkipData = "SkipData";
inline constexpr std::string_view SkipVideo = "SkipVideo";
inline constexpr std::string_view TargetAudioDirectory = "TargetAudioDirectory";
inline constexpr std::string_view TargetDirectory = "TargetDirectory";
inline constexpr std::string_view TargetFolder = "targetFolder";
inline constexpr std::string_view TargetVideoDirectory = "TargetVideoDirectory";
inline constexpr std::string_view UseMachineAsWorker_optional = "useMachineAsWorker_optional";

// Criteria of queries, as the examples show them; those that a format has too are in `Formats`.
inline constexpr std::string_view GUID = "GUID";
inline constexpr std::string_view RasterHeight = "RasterHeight";
inline constexpr std::string_view RasterWidth = "RasterWidth";
inline constexpr std::string_view RateDenominator = "RateDenominator";
inline constexpr std::string_view RateNumerator = "RateNumerator";
inline constexpr std::string_view S3DMode = "S3DMode";
inline constexpr std::string_view TarvaleCompression = "TarvaleCompression";

// Further keys of the farm's jobs and events, which this service never reads.
inline constexpr std::string_view CheckJobResult = "CheckJobResult";
inline constexpr std::string_view ClientNotifyChannel = "clientNotifyChannel";
inline constexpr std::string_view CrossRate = "CrossRate";
inline constexpr std::string_view DeduplicationFile = "DeduplicationFile";
inline constexpr std::string_view EnableLogging_optional = "EnableLogging_optional";
inline constexpr std::string_view EventRecord = "eventRecord";
inline constexpr std::string_view ExportTaskID = "ExportTaskID";
inline constexpr std::string_view InputMobID = "InputMobID";
inline constexpr std::string_view InputTrackID = "InputTrackID";
inline constexpr std::string_view MediaCreationType = "MediaCreationType";
inline constexpr std::string_view MetadataFilePath = "MetadataFilePath";
inline constexpr std::string_view MixdownMobIDs = "MixdownMobIDs";
inline constexpr std::string_view MixdownParams = "MixdownParams";
inline constexpr std::string_view MixdownPreflightResults = "MixdownPreflightResults";
inline constexpr std::string_view MobIDs = "MobIDs";
inline constexpr std::string_view OutputMobID = "OutputMobID";
inline constexpr std::string_view OutputTrackInfo = "OutputTrackInfo";
inline constexpr std::string_view ReportOffline = "ReportOffline";
inline constexpr std::string_view SendFailed = "SendFailed";
inline constexpr std::string_view SubstitutionRules = "SubstitutionRules";
inline constexpr std::string_view SubTask = "SubTask";
inline constexpr std::string_view TargetLUTSourceColorSpaceOverride_optional =
    "TargetLUTSourceColorSpaceOverride_optional";
inline constexpr std::string_view TargetMobID = "TargetMobID";
inline constexpr std::string_view TargetMobIDs = "TargetMobIDs";
inline constexpr std::string_view TimePoint = "timePoint";
inline constexpr std::string_view TrackID = "TrackID";
inline constexpr std::string_view UpsertBulk = "upsertBulk";
}  // namespace Keys

/// One worker in the answer about the pool of workers.
namespace Keys::WorkerRow {
inline constexpr std::string_view MachineName = "MachineName";
inline constexpr std::string_view ProcessID = "ProcessID";
inline constexpr std::string_view Status = "Status";
inline constexpr std::string_view TaskType = "TaskType";
inline constexpr std::string_view Time = "Time";
inline constexpr std::string_view WorkerName = "WorkerName";
inline constexpr std::string_view WorkerTag = "WorkerTag";
inline constexpr std::string_view WorkingForUser = "WorkingForUser";
}  // namespace Keys::WorkerRow

/// Collections of the object store.
namespace Collections {
inline constexpr std::string_view Jobs = "V2_WFJobs";
inline constexpr std::string_view Profiles = "V2_WFProfiles";
inline constexpr std::string_view Workers = "V2_WFWorkers";

// Results of queries.
inline constexpr std::string_view VideoFormats = "V2_WFVideoFormats";
inline constexpr std::string_view AudioFormats = "V2_WFAudioFormats";
inline constexpr std::string_view ExportTypes = "V2_WFExportTypes";
inline constexpr std::string_view SourceAvailabilities = "V2_WFSourceAvailabilities";
inline constexpr std::string_view MobIDs = "V2_WFMobIDs";
inline constexpr std::string_view MasterMobDescs = "V2_WFMasterMobDescs";
}  // namespace Collections

/// Topics of the event stream.
namespace Topics {
inline constexpr std::string_view JobEvents = "V2_WFJobEvents";

// Ends a name that stands for an event's time.
inline constexpr std::string_view EventTimePointSuffix = "-Event-Time-Point";
}  // namespace Topics

/// Type names of stored records and of events.
namespace RecordTypes {
inline constexpr std::string_view Job = "Job";
inline constexpr std::string_view Profile = "Profile";
inline constexpr std::string_view Worker = "Worker";
inline constexpr std::string_view VideoFormat = "VideoFormat";
inline constexpr std::string_view AudioFormat = "AudioFormat";
inline constexpr std::string_view ExportType = "ExportType";
inline constexpr std::string_view SourceAvailability = "SourceAvailability";
inline constexpr std::string_view MobID = "MobID";
inline constexpr std::string_view MasterMobDesc = "MasterMobDesc";

// Events. The service produces the first alone; the others belong to other services.
inline constexpr std::string_view JobCreated = "JobCreated";
inline constexpr std::string_view JobMovedIntoQueue = "JobMovedIntoQueue";
inline constexpr std::string_view JobModifyState = "JobModifyState";
inline constexpr std::string_view PickedEventRecord = "PickedEventRecord";
inline constexpr std::string_view FinishedEventRecord = "FinishedEventRecord";
inline constexpr std::string_view HeartBeatEventRecord = "HeartBeatEventRecord";
inline constexpr std::string_view TaskSelected = "TaskSelected";
inline constexpr std::string_view StatusInfo = "StatusInfo";
}  // namespace RecordTypes

/// Services on the bus.
namespace ServiceNames {
inline constexpr std::string_view Scheduler = "orvik.quillon.processing.scheduler";
inline constexpr std::string_view Coordinator = "orvik.quillon.processing.coordinator";
inline constexpr std::string_view MetadataWorker = "orvik.quillon.processing.metadata.worker";
inline constexpr std::string_view MediaWorker = "orvik.quillon.processing.media.worker";
inline constexpr std::string_view JobMonitor = "orvik.job.monitor";
inline constexpr std::string_view Identity = "orvik.iam";

// Of the farm, but never addressed by this service.
inline constexpr std::string_view JobDriver = "orvik.quillon.processing.jobdriver";
inline constexpr std::string_view EventNotifier = "orvik.quillon.processing.eventnotifier";
inline constexpr std::string_view ZhemResolver = "orvik.zhem.resolver";
inline constexpr std::string_view Procedure = "orvik.quillon.procedure";
inline constexpr std::string_view Utils = "orvik.quillon.utils";
inline constexpr std::string_view NotifyBridge = "orvik.quillon.wfln.notify.bridge";
}  // namespace ServiceNames

/// Realms that do not come from the option `realm`.
namespace Realms {
inline constexpr std::string_view Global = "global";
}  // namespace Realms

/// Operations of other services that this one asks for.
namespace Operations {
// Identity service.
inline constexpr std::string_view FindPrincipal = "findPrincipal";

// Job monitor.
inline constexpr std::string_view FindJob = "findJob";
inline constexpr std::string_view FindJobs = "findJobs";
inline constexpr std::string_view RemoveJob = "removeJob";

// Coordinator.
inline constexpr std::string_view SetGlobalConfigData = "setGlobalConfigData";
inline constexpr std::string_view WorkerPoolStatus = "workerPoolStatus";

// Metadata worker.
inline constexpr std::string_view GetAudioFormats = "getAudioFormats";
inline constexpr std::string_view GetColorSpaces = "getColorSpaces";
inline constexpr std::string_view GetExportTypes = "getExportTypes";
inline constexpr std::string_view GetMediaCreationTypes = "getMediaCreationTypes";
inline constexpr std::string_view GetS3DModes = "getS3DModes";
inline constexpr std::string_view GetVideoFormats = "getVideoFormats";

// Both kinds of worker.
inline constexpr std::string_view RemoteLogging = "remoteLogging";
}  // namespace Operations

/// Values of the key `status` in this service's own answers.
namespace AnswerStatus {
inline constexpr std::string_view Completed = "COMPLETED";
inline constexpr std::string_view Failed = "FAILED";
inline constexpr std::string_view Propagating = "propagating";
}  // namespace AnswerStatus

/// Codes of error answers that are not the platform's own.
namespace ErrorCodes {
inline constexpr std::string_view Unknown = "ERROR_UNKNOWN";
}  // namespace ErrorCodes

/// What the documented examples leave to a person to fill in.
namespace Placeholders {
inline constexpr std::string_view InputMetadataFile = "<<< INPUT METADATA FILE >>>";
inline constexpr std::string_view InputMob = "<<< INPUT MOB >>>";
inline constexpr std::string_view OutputMetadataFile = "<<< OUTPUT METADATA FILE >>>";
inline constexpr std::string_view SaveMobsMetadataFile = "<<< SAVE MOBS METADATA FILE >>>";
inline constexpr std::string_view ClientMachine = "<client machine name>";
inline constexpr std::string_view WorkerMachine = "<worker machine name>";
inline constexpr std::string_view ClientKey = "<<INSERT-clientKey-HERE>>";
inline constexpr std::string_view JobKind = "<<JOB_KIND>>";
inline constexpr std::string_view ParentId = "<<parent-id-guid>>";
}  // namespace Placeholders

/// Colour ranges of a look-up table.
namespace ColorRanges {
inline constexpr std::string_view Video = "Video Range";
inline constexpr std::string_view Full = "Full Range";
}  // namespace ColorRanges

/// Options of the command line and the environment. Those that hold text are also the keys of the
/// configuration store.
namespace Options {
inline constexpr std::string_view Service = "service";
inline constexpr std::string_view Deploy = "deploy";
inline constexpr std::string_view Realm = "realm";
inline constexpr std::string_view Version = "version";
inline constexpr std::string_view LogLevel = "loglevel";
inline constexpr std::string_view Verbose = "verbose";
inline constexpr std::string_view Host = "host";
inline constexpr std::string_view Port = "port";
inline constexpr std::string_view KafkaHost = "kafka-host";
inline constexpr std::string_view KafkaPort = "kafka-port";
inline constexpr std::string_view MongoUri = "mongo-uri";
inline constexpr std::string_view MongoDb = "mongo-db";
inline constexpr std::string_view JobManagerServiceName = "jobmanagerservicename";
inline constexpr std::string_view MetadataRootPath = "metadatarootpath";
inline constexpr std::string_view ProxyEventStore = "proxyEventStore";
inline constexpr std::string_view EventMaxPollingTimeoutMs = "eventMaxPollingTimeoutMs";
inline constexpr std::string_view Config = "config";
inline constexpr std::string_view EnableOldHALPrototype = "enableOldHALPrototype";

// Of the file that `config` names, and no options of their own.
inline constexpr std::string_view StoreCompression = "store.compression";
inline constexpr std::string_view StoreTimeoutMs = "store.timeoutMs";
inline constexpr std::string_view KafkaTls = "kafka.tls";  // "true" or "false"
inline constexpr std::string_view KafkaAuthorityFile = "kafka.authorityFile";
inline constexpr std::string_view KafkaSaslMechanism = "kafka.saslMechanism";
inline constexpr std::string_view KafkaUserName = "kafka.userName";
inline constexpr std::string_view KafkaPasswordFile = "kafka.passwordFile";
inline constexpr std::string_view KafkaReplicas = "kafka.replicas";
inline constexpr std::string_view KafkaMinInSyncReplicas = "kafka.minInSyncReplicas";
}  // namespace Options

/// Values of the option `deploy`.
namespace DeploymentModes {
inline constexpr std::string_view Standalone = "standalone";
inline constexpr std::string_view Distributed = "distributed";
}  // namespace DeploymentModes

}  // namespace Weftline
