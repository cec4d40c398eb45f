#pragma once

// Private to the choice of the stores.

#include <chrono>
#include <string>

#include "platform/stores/kafka/KafkaEventLog.h"
#include "platform/stores/mongo/MongoStore.h"
#include "platform/stores/sqlite/SqliteOptions.h"

/// What the configuration store says of the stores. Each throws `ObjectStoreException` for a value that
/// cannot be meant.
namespace CommonServices::StoreSettings {

Sqlite::Compression ReadCompression();

/// Whether events go to a cluster of their own.
bool NamesKafka();
KafkaSettings ReadKafka();

MongoSettings ReadMongo(const std::string& uri, const std::string& database);

/// Two seconds where the setting is no number of milliseconds.
std::chrono::milliseconds ReadLongestEventWait();

}  // namespace CommonServices::StoreSettings
