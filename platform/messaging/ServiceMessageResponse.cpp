#include "platform/messaging/ServiceMessageResponse.h"

#include <utility>

#include "platform/messaging/HandlerErrors.h"

namespace PlatformAbstraction::Messaging {

void ServiceMessageResponse::AssignParameters(CoreServices::Parameters results) {
    m_results = std::move(results);
}

void ServiceMessageResponse::SetErrorParameters(CoreServices::Parameters details) {
    m_errorDetails = std::move(details);
}

void ServiceMessageResponse::SetBlame(const BlameNote& note) {
    m_blame = note.GetBlame();
    m_blamedField = note.GetField();
}

void ServiceMessageResponse::SetBlame(const std::exception& failure) {
    if (const auto* const note = dynamic_cast<const BlameNote*>(&failure)) {
        SetBlame(*note);
    }
}

bool ServiceMessageResponse::RespondOK() {
    return Answer(MessageAnswer::OfResults(m_results));
}

bool ServiceMessageResponse::RespondOK(std::string text) {
    return Answer(MessageAnswer::OfText(std::move(text)));
}

bool ServiceMessageResponse::RespondError(std::string code, std::string message) {
    return Answer(MessageAnswer::OfError(std::move(code), std::move(message), m_errorDetails));
}

bool ServiceMessageResponse::RespondGenericError(std::string message) {
    return RespondError(kGenericServiceError, std::move(message));
}

bool ServiceMessageResponse::RespondGenericError(std::string message, CoreServices::Parameters details) {
    return Answer(MessageAnswer::OfError(kGenericServiceError, std::move(message), std::move(details)));
}

std::optional<MessageAnswer> ServiceMessageResponse::TakeAnswer() {
    // A moved-from optional stays engaged, so that answering calls after this one are refused still.
    return std::move(m_answer);
}

bool ServiceMessageResponse::Answer(MessageAnswer answer) {
    if (m_answer) {
        return false;
    }
    m_answer = std::move(answer);
    m_answer->blame = m_blame;
    m_answer->field = m_blamedField;
    return true;
}

}  // namespace PlatformAbstraction::Messaging
