#include "Core/src/Profile.h"

#include <utility>

#include "Core/src/Vocabulary.h"

namespace Weftline::DataModel {

// The listing and the lookup go by the vocabulary's words.
static_assert(Profile::TypeName() == RecordTypes::Profile);
static_assert(Profile::Collection() == Collections::Profiles);

Profile::Profile(std::string id) : DataRecord("") {
    GetRecord().recordID = std::move(id);
}

}  // namespace Weftline::DataModel
