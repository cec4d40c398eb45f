#include "platform/messaging/MessageAnswer.h"

#include <utility>

namespace PlatformAbstraction::Messaging {

MessageAnswer MessageAnswer::OfResults(CoreServices::Parameters results) {
    MessageAnswer answer;
    answer.kind = Kind::Results;
    answer.results = std::move(results);
    return answer;
}

MessageAnswer MessageAnswer::OfText(std::string text) {
    MessageAnswer answer;
    answer.kind = Kind::Text;
    answer.text = std::move(text);
    return answer;
}

MessageAnswer MessageAnswer::OfError(std::string code, std::string message,
                                     CoreServices::Parameters details) {
    MessageAnswer answer;
    answer.kind = Kind::Error;
    answer.code = std::move(code);
    answer.message = std::move(message);
    answer.details = std::move(details);
    return answer;
}

}  // namespace PlatformAbstraction::Messaging
