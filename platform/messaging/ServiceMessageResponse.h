#pragma once

#include <exception>
#include <optional>
#include <string>

#include "base/parameters/Parameters.h"
#include "platform/messaging/MessageAnswer.h"

namespace PlatformAbstraction {

/// Whoever keeps an answer for later. The platform offers it; the scheduler does not implement it.
class IRespondHolder {
public:
    virtual void Respond() = 0;
    virtual ~IRespondHolder() = default;
};

}  // namespace PlatformAbstraction

namespace PlatformAbstraction::Messaging {

class BlameNote;

/// Through which a handler of the first kind answers. It lives for one message on the handler's thread; the
/// first answer counts, and an answering call after it gives false and changes nothing.
class ServiceMessageResponse {
public:
    /// The result tree, to be filled before `RespondOK()`.
    CoreServices::Parameters& GetParameters() { return m_results; }
    const CoreServices::Parameters& GetParameters() const { return m_results; }
    void AssignParameters(CoreServices::Parameters results);
    CoreServices::Parameters& GetErrorParameters() { return m_errorDetails; }
    const CoreServices::Parameters& GetErrorParameters() const { return m_errorDetails; }
    void SetErrorParameters(CoreServices::Parameters details);

    /// Comes before the answer. Whether text values of the result that hold JSON stand as such in the wire
    /// form of transports that have one; the transports here send trees and ignore it.
    void SetUseNestedJSONStringResults(bool use) { m_useNestedJSONStringResults = use; }
    bool GetUseNestedJSONStringResults() const { return m_useNestedJSONStringResults; }

    /// Comes before an error: who is to blame for it, and for which key of the request.
    void SetBlame(Blame blame) { m_blame = blame; }
    void SetBlame(const BlameNote& note);
    /// What the exception notes of that; most note nothing.
    void SetBlame(const std::exception& failure);

    /// Answers with the result tree.
    bool RespondOK();
    /// Answers with a ready JSON text, passed on as it is.
    bool RespondOK(std::string text);
    /// Answers with an error; the error tree, if one was set, goes with it as its details.
    bool RespondError(std::string code, std::string message);
    /// The same with the code "GENERIC_SERVICE_ERROR".
    bool RespondGenericError(std::string message);
    bool RespondGenericError(std::string message, CoreServices::Parameters details);

    /// Whether the handler has answered, and with what. For the platform.
    const std::optional<MessageAnswer>& GetAnswer() const { return m_answer; }
    std::optional<MessageAnswer> TakeAnswer();

private:
    bool Answer(MessageAnswer answer);

    CoreServices::Parameters m_results;
    CoreServices::Parameters m_errorDetails;
    Blame m_blame = Blame::Service;
    std::string m_blamedField;
    std::optional<MessageAnswer> m_answer;
    bool m_useNestedJSONStringResults = true;
};

}  // namespace PlatformAbstraction::Messaging
