#include "handlers/submit/ProxyCreationParams.h"

#include "Core/src/StructureFields.h"
#include "Core/src/Vocabulary.h"

namespace Weftline::DataModel {

using Services::Scheduler::ProxyCreationParams;

template <>
struct StructureFields<ProxyCreationParams> {
    static constexpr FieldList kFields{
        Field{Keys::InputMetadataFile, &ProxyCreationParams::inputMetadataFile},
        Field{Keys::InputMobIDs, &ProxyCreationParams::inputMobIDs},
        Field{Keys::TargetFolder, &ProxyCreationParams::targetFolder},
        Field{Keys::Profile, &ProxyCreationParams::profile},
    };
};

}  // namespace Weftline::DataModel

namespace Weftline::Services::Scheduler {

CoreServices::Parameters WriteProxyCreationParams(const ProxyCreationParams& params) {
    return DataModel::WriteStructure(params);
}

}  // namespace Weftline::Services::Scheduler
