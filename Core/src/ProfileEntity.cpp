#include "Core/src/ProfileEntity.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

#include "Core/src/ProfileValues.h"
#include "Core/src/RecordField.h"
#include "Core/src/Vocabulary.h"

namespace Weftline::Services::Scheduler::Entities {

using CoreServices::Parameters;
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
