#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <utility>

#include "base/parameters/Parameters.h"

namespace PlatformAbstraction::Messaging {

/// The address and body of one outgoing message. A value.
struct ServiceMessageDispatch {
    ServiceMessageDispatch(std::string toService, std::string inRealm, std::int32_t ofVersion,
                           std::string forOperation)
        : service(std::move(toService)),
          realm(std::move(inRealm)),
          version(ofVersion),
          operation(std::move(forOperation)) {}

    std::string service;
    std::string realm;
    std::int32_t version;
    std::string operation;
    CoreServices::Parameters parameters;  ///< the request body, set after construction
    std::int32_t reserved = 0;
    std::map<std::string, CoreServices::Parameters> attachments;
};

}  // namespace PlatformAbstraction::Messaging
