#pragma once

#include <memory>

#include "platform/messaging/BusMessaging.h"
#include "platform/notifiers/IGenericNotifier.h"

namespace PlatformAbstraction {

/// The notifier of a handler's detached work: it reports to the console, never throws, and any thread may
/// call it. Callers keep it as a shared pointer, since it outlives the message that started the work.
/// `busMessaging`, for notifiers that report over the bus, has no use yet and is released at once.
std::unique_ptr<IGenericNotifier> MakeNotifier(std::shared_ptr<Messaging::BusMessaging> busMessaging);

}  // namespace PlatformAbstraction
