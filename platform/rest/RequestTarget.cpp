#include "platform/rest/RequestTarget.h"

#include <algorithm>
#include <cstddef>

#include "platform/rest/HttpText.h"

namespace PlatformAbstraction::Rest {

namespace {

using CoreServices::Parameters;

constexpr char kNumberKey[] = "value";

void SkipDigits(std::string_view& text) {
    while (!text.empty() && IsDigits(text.substr(0, 1))) {
        text.remove_prefix(1);
    }
}

bool SkipOne(std::string_view& text, std::string_view anyOf) {
    if (text.empty() || anyOf.find(text.front()) == std::string_view::npos) {
        return false;
    }
    text.remove_prefix(1);
    return true;
}

// One digit or more.
bool SkipNumber(std::string_view& text) {
    const std::size_t before = text.size();
    SkipDigits(text);
    return text.size() < before;
}

bool IsJsonNumber(std::string_view text) {
    SkipOne(text, "-");
    if (!SkipOne(text, "0") && !SkipNumber(text)) {
        return false;
    }
    if (SkipOne(text, ".") && !SkipNumber(text)) {
        return false;
    }
    if (SkipOne(text, "eE")) {
        SkipOne(text, "+-");
        if (!SkipNumber(text)) {
            return false;
        }
    }
    return text.empty();
}

// Goes through JSON because a tree keeps the text of a number that it has read.
void SetNumber(Parameters& tree, const std::string& name, const std::string& number) {
    const std::string json = std::string("{\"") + kNumberKey + "\":" + number + "}";
    tree.CopyValue(Parameters::fromJSON(json), kNumberKey, name);
}

void SetQueryValue(Parameters& tree, const std::string& name, std::string value) {
    if (value == "true" || value == "false") {
        tree.SetParameter(name, value == "true");
    } else if (value == "null") {
        tree.SetParameterNull(name);
    } else if (IsJsonNumber(value)) {
        SetNumber(tree, name, value);
    } else if (value.size() >= 2 && value.front() == '"' && value.back() == '"') {
        tree.SetParameter(name, std::string_view(value).substr(1, value.size() - 2));
    } else {
        tree.SetParameter(name, std::move(value));
    }
}

bool ReadPair(std::string_view pair, Parameters& tree) {
    const std::size_t sign = std::min(pair.find('='), pair.size());
    const auto name = DecodePercent(pair.substr(0, sign), PlusSign::Blank);
    auto value = DecodePercent(pair.substr(std::min(sign + 1, pair.size())), PlusSign::Blank);
    if (!name || name->empty() || !value) {
        return false;
    }
    SetQueryValue(tree, *name, *std::move(value));
    return true;
}

}  // namespace

std::optional<std::string> DecodePercent(std::string_view text, PlusSign plus) {
    std::string decoded;
    decoded.reserve(text.size());
    for (std::size_t n = 0; n < text.size(); ++n) {
        if (text[n] == '+' && plus == PlusSign::Blank) {
            decoded.push_back(' ');
        } else if (text[n] != '%') {
            decoded.push_back(text[n]);
        } else {
            const int high = n + 2 < text.size() ? HexDigitValue(text[n + 1]) : -1;
            const int low = n + 2 < text.size() ? HexDigitValue(text[n + 2]) : -1;
            if (high < 0 || low < 0) {
                return std::nullopt;
            }
            decoded.push_back(static_cast<char>(high * 16 + low));
            n += 2;
        }
    }
    if (!IsValidUtf8(decoded)) {
        return std::nullopt;
    }
    return decoded;
}

std::optional<std::vector<std::string>> ReadPath(std::string_view path) {
    std::vector<std::string> segments;
    while (!path.empty()) {
        path.remove_prefix(1);  // the slash
        const std::size_t end = std::min(path.find('/'), path.size());
        auto segment = DecodePercent(path.substr(0, end), PlusSign::Itself);
        if (!segment) {
            return std::nullopt;
        }
        segments.push_back(*std::move(segment));
        path.remove_prefix(end);
    }
    return segments;
}

std::optional<Parameters> ReadQuery(std::string_view query) {
    Parameters tree;
    while (!query.empty()) {
        const std::size_t end = std::min(query.find('&'), query.size());
        const std::string_view pair = query.substr(0, end);
        if (!pair.empty() && !ReadPair(pair, tree)) {
            return std::nullopt;
        }
        query.remove_prefix(std::min(end + 1, query.size()));
    }
    return tree;
}

}  // namespace PlatformAbstraction::Rest
