// The input as a path and as a query.

#include "platform/rest/RequestTarget.h"

#include <string>
#include <vector>

#include "fuzz/FuzzTarget.h"
#include "platform/rest/HttpText.h"

namespace Fuzzing {

namespace {

using namespace PlatformAbstraction::Rest;
using CoreServices::Parameters;

std::string Encoded(std::string_view text) {
    static constexpr std::string_view kDigits = "0123456789abcdef";
    std::string encoded;
    for (const char character : text) {
        const auto byte = static_cast<unsigned char>(character);
        encoded.append({'%', kDigits[byte / 16], kDigits[byte % 16]});
    }
    return encoded;
}

void ReadAsPath(std::string_view input) {
    const auto segments = ReadPath("/" + std::string(input));
    std::string encoded;
    for (const std::string& segment : segments.value_or(std::vector<std::string>())) {
        Check(IsValidUtf8(segment), "a segment is UTF-8");
        encoded += "/" + Encoded(segment);
    }
    Check(!segments || ReadPath(encoded) == segments, "a path that is written again has the same segments");
}

void ReadAsQuery(std::string_view input) {
    const Parameters tree = ReadQuery(input).value_or(Parameters());
    Check(Parameters::fromJSON(tree.toJSON()) == tree, "a query's tree can be written and read");
    for (const std::string& name : tree.GetTopLevelParameterNames()) {
        Check(!name.empty(), "every pair has a name");
    }
}

}  // namespace

void RunOne(std::string_view input) {
    ReadAsPath(input);
    ReadAsQuery(input);
}

}  // namespace Fuzzing
