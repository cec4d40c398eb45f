// The input as a path, as a query, and as host and port.

#include "platform/rest/RequestTarget.h"

#include <array>
#include <cstdio>
#include <string>

#include "fuzz/FuzzTarget.h"
#include "platform/rest/HttpText.h"
#include "platform/rest/RequestHead.h"

namespace Fuzzing {

namespace {

using namespace PlatformAbstraction::Rest;
using CoreServices::Parameters;

std::string Encoded(std::string_view text) {
    std::string encoded;
    for (const char character : text) {
        std::array<char, 4> escape{};
        std::snprintf(escape.data(), escape.size(), "%%%02x",
                      unsigned{static_cast<unsigned char>(character)});
        encoded += escape.data();
    }
    return encoded;
}

void ReadAsPath(std::string_view input) {
    const std::string path = "/" + std::string(input);
    const auto segments = ReadPath(path);
    if (!segments) {
        return;
    }
    std::string encoded;
    for (const std::string& segment : *segments) {
        Check(IsValidUtf8(segment), "a segment is UTF-8");
        encoded += "/" + Encoded(segment);
    }
    Check(ReadPath(encoded) == segments, "a path that is written again has the same segments");
}

void ReadAsQuery(std::string_view input) {
    const auto tree = ReadQuery(input);
    if (!tree) {
        return;
    }
    Check(Parameters::fromJSON(tree->toJSON()) == *tree, "a query's tree can be written and read");
    std::string texts;
    Parameters expected;
    for (const std::string& name : tree->GetTopLevelParameterNames()) {
        Check(!name.empty(), "every pair has a name");
        std::string text;
        if (tree->GetParameter(name, text)) {
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
    Check(read->port ? rest.starts_with(':') && IsDigits(rest.substr(1)) : rest.empty(),
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
