// The input as a path, as a query, and as host and port.

#include "platform/rest/RequestTarget.h"

#include <string>
#include <vector>

#include "fuzz/FuzzTarget.h"
#include "platform/rest/HttpText.h"
#include "platform/rest/RequestHead.h"

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
    std::string texts;
    Parameters expected;
    for (const std::string& name : tree.GetTopLevelParameterNames()) {
        Check(!name.empty(), "every pair has a name");
        if (std::string text; tree.GetParameter(name, text)) {
            texts += "&" + Encoded(name) + "=" + Encoded("\"" + text + "\"");
            expected.SetParameter(name, text);
        }
    }
    Check(ReadQuery(texts) == expected, "a text in quotes stays a text");
}

void ReadAsHost(std::string_view input) {
    const auto read = ReadHostAndPort(input);
    if (!read) {
        return;
    }
    Check(!read->host.empty() && input.starts_with(read->host), "the host stands in front");
    const std::string_view rest = input.substr(read->host.size());
    Check(read->port ? rest.starts_with(':') && IsDigits(rest.substr(1)) : rest.empty() || rest == ":",
          "behind the host there is a port or nothing");
    Check(read->host.find_first_of("/?#@,; \t") == std::string_view::npos, "a host is no more than that");
}

}  // namespace

void RunOne(std::string_view input) {
    ReadAsPath(input);
    ReadAsQuery(input);
    ReadAsHost(input);
}

}  // namespace Fuzzing
