#include "handlers/support/SubmissionRegistration.h"

#include "handlers/support/HandlerDocumentation.h"
#include "platform/messaging/RegParamsBuilder.h"

namespace Weftline::Services::Scheduler {

using CoreServices::Parameters;
using PlatformAbstraction::HTTPMethod;
using PlatformAbstraction::MessageExample;
using PlatformAbstraction::RegistrationParams;
using PlatformAbstraction::RegParamsBuilder;

RegistrationParams DescribeSubmission(std::string name, std::string description, std::string restPath,
                                      std::vector<MessageExample> examples) {
    RegParamsBuilder builder;
    builder.SetName(std::move(name))
        .SetDescription(std::move(description))
        .SetRESTPath(std::move(restPath))
        .SetRESTMethod(HTTPMethod::Post);
    for (MessageExample& example : examples) {
        builder.AddExample(std::move(example));
    }
    return builder.GetResult();
}

Parameters TreeOf(std::initializer_list<std::pair<std::string_view, ExampleValue>> values) {
    Parameters tree;
    for (const auto& [key, value] : values) {
        std::visit([&tree, key = key](auto plain) { tree.SetParameter(key, plain); }, value);
    }
    return tree;
}

MessageExample DocumentedExample(std::string label, const std::string& resourceName) {
    return {std::move(label), BuildDocumentedExample(resourceName)};
}

}  // namespace Weftline::Services::Scheduler
