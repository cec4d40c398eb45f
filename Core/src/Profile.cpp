#include "Core/src/Profile.h"

#include <cstdint>

#include "Core/src/Vocabulary.h"

namespace Weftline::DataModel {

// The listing and the lookup go by the vocabulary's words.
static_assert(Profile::TypeName() == RecordTypes::Profile);
static_assert(Profile::Collection() == Collections::Profiles);

Profile::Profile(std::string id) : DataRecord("") {
    GetRecord().recordID = std::move(id);
}

}  // namespace Weftline::DataModel

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

namespace Weftline::Services::Scheduler::Entities {

using DataModel::RecordField;

namespace {

constexpr std::int32_t kPrivateScope = 0;
constexpr std::string_view kProxyType = "Proxy";

void CopyTopLevel(const Parameters& source, Parameters& target) {
    for (const std::string& key : source.GetTopLevelParameterNames()) {
        CopyParameter(source, target, key, key);
    }
}

}  // namespace

Profile::Profile(std::shared_ptr<CommonServices::ObjectStore> pObjectStore,
                 std::shared_ptr<CommonServices::EventStore> pEventStore, const Record& record)
    : BaseEntity(std::move(pObjectStore), std::move(pEventStore), record) {}

Parameters Profile::ToListEntry() const {
    const RecordField nameField{std::string(Keys::Name), kPrivateScope};
    const RecordField typeField{std::string(Keys::Type), kPrivateScope};

    Parameters entry;
    entry.SetParameter(Keys::Id, Data().GetRecord().recordID);
    entry.SetParameter(Keys::Name, Data().GetFieldString(nameField, ""));
    entry.SetParameter(Keys::IsProxy, Data().GetFieldString(typeField, "") == kProxyType);
    return entry;
}

Parameters Profile::MergeProfileIntoParams(const Parameters& jobParameters) const {
    Parameters merged;
    CopyTopLevel(jobParameters, merged);
    CopyTopLevel(FlattenProfileValues(Parameters::fromJSON(Data().GetRecord().recordData)), merged);
    return merged;
}

}  // namespace Weftline::Services::Scheduler::Entities
