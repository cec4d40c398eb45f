#pragma once

#include <cstdint>
#include <string>

namespace Weftline::DataModel {

/// Names one value at the top level of a typed record's JSON.
struct RecordField {
    std::string key;
    std::int32_t scope = 0;  ///< 0: the private JSON; anything else: the public JSON
};

}  // namespace Weftline::DataModel
