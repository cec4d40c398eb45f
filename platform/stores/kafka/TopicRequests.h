#pragma once

#include <stop_token>
#include <string>

#include "platform/stores/kafka/TopicKeeper.h"

namespace CommonServices::Kafka {

/// Asks the cluster to make the topic as the settings want it, and where it is there already or may not be
/// made, how many partitions it has. Blocks up to twice the settings' `timeout`, less where it is stopped.
TopicKeeper::Answer MakeTopic(const ClientConfiguration& configuration, const KafkaSettings& settings,
                              const std::string& name, const std::stop_token& stop);

}  // namespace CommonServices::Kafka
