#include "platform/messaging/inprocess/MessagePosting.h"

#include <utility>

namespace PlatformAbstraction::Messaging {

namespace {

std::string Quoted(const std::string& text) {
    return '"' + text + '"';
}

}  // namespace

Acceptance PostToOne(const Instances& instances, const std::string& operation,
                     std::unique_ptr<QueuedMessage>& message) {
    auto result = Acceptance::NotFound;
    for (const auto& instance : instances) {
        const Acceptance one = instance->Post(operation, message);
        if (one == Acceptance::Accepted) {
            return one;
        }
        // An instance that is full or stopping tells the sender more than one that does not know the
        // operation.
        result = one == Acceptance::NotFound ? result : one;
    }
    return result;
}

Instances TakeOut(Instances& instances, const std::shared_ptr<MessageSink>& attached) {
    Instances taken;
    std::erase_if(instances, [&](const auto& instance) {
        const bool isIt = instance == attached;
        if (isIt) {
            taken.push_back(instance);
        }
        return isIt;
    });
    return taken;
}

void StopInstances(const Instances& instances, WorkerPool::Clock::time_point deadline) {
    // All are drained before any is closed: a message under way in one may need an answer of another.
    for (const auto& instance : instances) {
        instance->GetPool().Drain();
    }
    for (const auto& instance : instances) {
        instance->GetPool().WaitUntilQuiet(deadline);
    }
    for (const auto& instance : instances) {
        instance->Close(deadline);
    }
}

std::optional<MessageAnswer> ErrorOf(Acceptance acceptance, const std::string& service,
                                     const std::string& operation) {
    const std::string receiver = "The service " + Quoted(service);
    switch (acceptance) {
        case Acceptance::Accepted:
            return std::nullopt;
        case Acceptance::NotFound:
            return MessageAnswer::OfError(kOperationNotFound,
                                          receiver + " has no operation " + Quoted(operation) + ".");
        case Acceptance::QueueFull:
            return MessageAnswer::OfError(kQueueFull, receiver + " did not take " + Quoted(operation) +
                                                          ": too many messages are waiting.");
        case Acceptance::Stopping:
            return MessageAnswer::OfError(kServiceStopping,
                                          receiver + " did not take " + Quoted(operation) + ": it stops.");
    }
    return MessageAnswer::OfError(kGenericServiceError,
                                  receiver + " did not take " + Quoted(operation) + ".");
}

MessageAnswer ServiceNotFound(const std::string& service, const std::string& realm, std::int32_t version) {
    return MessageAnswer::OfError(kServiceNotFound, "The service " + Quoted(service) + ", realm " +
                                                        Quoted(realm) + ", version " +
                                                        std::to_string(version) + ", is not on the bus.");
}

std::shared_ptr<MessageResultsFuture> EndedFuture(std::optional<MessageAnswer> error) {
    auto exchange = std::make_shared<MessageExchange>();
    exchange->End(error ? std::move(*error) : MessageAnswer());
    return std::make_shared<MessageResultsFuture>(std::move(exchange));
}

}  // namespace PlatformAbstraction::Messaging
