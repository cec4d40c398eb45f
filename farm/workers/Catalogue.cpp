#include "farm/workers/Catalogue.h"

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>

namespace Quillon::Farm {

using CoreServices::Parameters;

namespace {

constexpr std::size_t kGuidDigits = 32;
constexpr std::string_view kHexPrefix = "0x";

/// The digits of a GUID, in lower case; nothing for any other text.
std::optional<std::string> GuidDigits(std::string_view text) {
    std::string digits;
    bool startsGroup = true;
    for (std::size_t n = 0; n < text.size(); ++n) {
        const auto character = static_cast<unsigned char>(text[n]);
        if (character == '-' || character == '{' || character == '}') {
            startsGroup = true;
        } else if (startsGroup && text.substr(n, kHexPrefix.size()) == kHexPrefix) {
            startsGroup = false;
            ++n;
        } else if (std::isxdigit(character) != 0) {
            startsGroup = false;
            digits.push_back(static_cast<char>(std::tolower(character)));
        } else {
            return std::nullopt;
        }
    }
    return digits.size() == kGuidDigits ? std::optional(std::move(digits)) : std::nullopt;
}

/// Of a value that is no text.
std::string JsonText(const Parameters& tree, std::string_view key) {
    constexpr std::string_view kBefore = R"({"v":)";
    Parameters alone;
    alone.CopyValue(tree, key, "v");
    const std::string json = alone.toJSON();
    return json.substr(kBefore.size(), json.size() - kBefore.size() - 1);
}

/// The value under the key as a text that is equal for values that mean the same: 10 and "10", true and
/// "true", and the spellings of a GUID, whose case, hyphens, braces and "0x" do not count. Nothing where
/// there is no value, or null.
std::optional<std::string> ValueText(const Parameters& tree, std::string_view key) {
    if (!tree.HasParameter(key)) {
        return std::nullopt;
    }
    std::string text;
    if (!tree.GetParameter(key, text)) {
        std::string json = JsonText(tree, key);
        return json == "null" ? std::nullopt : std::optional(std::move(json));
    }
    return GuidDigits(text).value_or(text);
}

/// A key that a request asks for, and the value.
struct Criterion {
    std::string_view key;
    std::string value;
};

std::vector<Criterion> ReadCriteria(const CatalogueKind& kind, const Parameters& request) {
    std::set<std::string_view> keys;
    for (const CatalogueField& field : kind.fields) {
        keys.insert(field.criteria.begin(), field.criteria.end());
    }
    std::vector<Criterion> criteria;
    for (const std::string_view key : keys) {
        if (auto value = ValueText(request, key); value && !key.empty()) {
            criteria.push_back({key, std::move(*value)});
        }
    }
    return criteria;
}

Parameters HolderOf(const CatalogueField& field, const Parameters& entry) {
    return field.within.empty() ? entry : entry.GetChildParameters(field.within);
}

bool Matches(const CatalogueKind& kind, const Criterion& criterion, const Parameters& entry) {
    return std::any_of(kind.fields.begin(), kind.fields.end(), [&](const CatalogueField& field) {
        return std::count(field.criteria.begin(), field.criteria.end(), criterion.key) != 0 &&
               ValueText(HolderOf(field, entry), field.key) == criterion.value;
    });
}

bool HasType(const Parameters& holder, std::string_view key, CatalogueField::Type type) {
    std::string text;
    std::int32_t whole = 0;
    bool flag = false;
    switch (type) {
        case CatalogueField::Type::Text:
            return holder.GetParameter(key, text);
        case CatalogueField::Type::Whole:
            return holder.GetParameter(key, whole);
        case CatalogueField::Type::Flag:
            return holder.GetParameter(key, flag);
    }
    return false;
}

std::string_view NameOf(CatalogueField::Type type) {
    switch (type) {
        case CatalogueField::Type::Text:
            return "a text";
        case CatalogueField::Type::Whole:
            return "a whole number";
        case CatalogueField::Type::Flag:
            return "true or false";
    }
    return "";
}

/// Whoever finds the results of a query reads these values, and would fail for want of them.
void CheckEntry(const CatalogueKind& kind, const Parameters& entry, std::size_t number) {
    for (const CatalogueField& field : kind.fields) {
        const Parameters holder = HolderOf(field, entry);
        if (!field.isRequired && !holder.HasParameter(field.key)) {
            continue;
        }
        if (!HasType(holder, field.key, field.type)) {
            const std::string within = field.within.empty() ? "" : std::string(field.within) + ".";
            throw std::runtime_error("In the entry " + std::to_string(number) + ", \"" + within +
                                     std::string(field.key) + "\" must be " +
                                     std::string(NameOf(field.type)) + ".");
        }
    }
}

}  // namespace

Catalogue::Catalogue(const CatalogueKind& kind, std::string_view json) : m_kind(kind) {
    const Parameters document = Parameters::fromJSON(json);
    if (!document.IsArray()) {
        throw std::runtime_error("It is no array of objects.");
    }
    for (std::size_t number = 0; number < document.GetArrayNumValues(); ++number) {
        m_entries.push_back(document.GetArrayNthChildParameters(number));
        CheckEntry(kind, m_entries.back(), number);
    }
}

std::vector<Parameters> Catalogue::Find(const Parameters& request) const {
    const std::vector<Criterion> criteria = ReadCriteria(m_kind, request);
    std::vector<Parameters> found;
    std::copy_if(m_entries.begin(), m_entries.end(), std::back_inserter(found), [&](const Parameters& entry) {
        return std::all_of(criteria.begin(), criteria.end(),
                           [&](const Criterion& criterion) { return Matches(m_kind, criterion, entry); });
    });
    return found;
}

}  // namespace Quillon::Farm
