#pragma once

#include <boost/hana/string.hpp>
#include <string>

#include "Core/src/DataRecord.h"

namespace Weftline::DataModel {

inline constexpr auto kProfileTypeName = BOOST_HANA_STRING("Profile");
inline constexpr auto kProfileCollection = BOOST_HANA_STRING("V2_WFProfiles");

/// A stored set of job settings with a name and an id. The service reads profiles and never writes one; the
/// content stays JSON text and is read key by key.
class Profile final : public DataRecord<decltype(kProfileTypeName), 1, decltype(kProfileCollection)> {
public:
    explicit Profile(std::string id);
};

}  // namespace Weftline::DataModel
