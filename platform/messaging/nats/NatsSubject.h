#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace PlatformAbstraction::Messaging {

// The subjects of the bus: `req.<realm>.<service>.<version>.<operation>` for what one instance answers,
// `all.` and the same for what all instances hear. A name is one token: letters, digits, "-" and "_" stand
// for themselves, every other byte is "%XX", and the empty name is "%".

enum class NatsAudience { OneInstance, AllInstances };

/// Whether the names are short enough for a subject. No service with longer ones can be on the bus.
bool FitsSubject(std::string_view name);

/// The part before the operation. The names fit.
std::string SubjectOfService(NatsAudience audience, std::string_view service, std::string_view realm,
                             std::int32_t version);

/// The operation's part, with its dot. A name that does not fit is cut, and is then one that no service has.
std::string SubjectOfOperation(std::string_view operation);
/// The operation that the last token of a subject names.
std::string OperationOfSubject(std::string_view subject);

}  // namespace PlatformAbstraction::Messaging
