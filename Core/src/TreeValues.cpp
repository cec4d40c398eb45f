#include "Core/src/TreeValues.h"

#include <stdexcept>

namespace Weftline {
namespace {

template <class Value>
Value GetRequired(const CoreServices::Parameters& tree, std::string_view key) {
    Value value{};
    if (!tree.GetParameter(key, value)) {
        throw std::runtime_error("Failed to extract: " + std::string(key));
    }
    return value;
}

}  // namespace

std::string GetRequiredString(const CoreServices::Parameters& tree, std::string_view key) {
    return GetRequired<std::string>(tree, key);
}

std::int32_t GetRequiredInt(const CoreServices::Parameters& tree, std::string_view key) {
    return GetRequired<std::int32_t>(tree, key);
}

bool GetRequiredBool(const CoreServices::Parameters& tree, std::string_view key) {
    return GetRequired<bool>(tree, key);
}

std::string TextOrEmpty(const CoreServices::Parameters& tree, std::string_view key) {
    std::string text;
    tree.GetParameter(key, text);
    return text;
}

bool FlagOrFalse(const CoreServices::Parameters& tree, std::string_view key) {
    bool flag = false;
    tree.GetParameter(key, flag);
    return flag;
}

}  // namespace Weftline
