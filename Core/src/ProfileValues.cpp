#include "Core/src/ProfileValues.h"

#include <cstdint>
#include <string>

#include "Core/src/Vocabulary.h"

namespace Weftline::Services::Scheduler {

using CoreServices::Parameters;

namespace {

template <class Value>
bool Reads(const Parameters& tree, std::string_view key) {
    Value value{};
    return tree.GetParameter(key, value);
}

bool ReadsAsTree(const Parameters& tree, std::string_view key) {
    Parameters child;
    return tree.GetChildParameters(key, child);
}

}  // namespace

void CopyParameter(const Parameters& source, Parameters& target, std::string_view sourceKey,
                   std::string_view targetKey) {
    const bool hasValue = Reads<std::string>(source, sourceKey) || Reads<std::int32_t>(source, sourceKey) ||
                          Reads<bool>(source, sourceKey) || Reads<double>(source, sourceKey) ||
                          ReadsAsTree(source, sourceKey);
    if (hasValue) {
        // Not through the value just read: a number would lose its text.
        target.CopyValue(source, sourceKey, targetKey);
    }
}

Parameters FlattenProfileValues(const Parameters& profile) {
    Parameters settings;
    for (const std::string& key : profile.GetTopLevelParameterNames()) {
        Parameters node;
        if (!profile.GetChildParameters(key, node) || node.IsArray()) {
            continue;
        }
        if (node.HasParameter(Keys::Value) && node.HasParameter(Keys::Label)) {
            CopyParameter(node, settings, Keys::Value, key);
        } else {
            settings.SetChildParameters(key, FlattenProfileValues(node));
        }
    }
    return settings;
}

}  // namespace Weftline::Services::Scheduler
