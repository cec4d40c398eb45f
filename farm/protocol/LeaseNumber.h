#pragma once

#include <charconv>
#include <cstdint>
#include <stdexcept>
#include <string>

#include "Core/src/wf_Record.h"
#include "base/parameters/Parameters.h"
#include "farm/protocol/FarmProtocol.h"

/// The number of the coordinator's lease in a tree: a text, for numbers of a tree have 32 bits.
namespace Quillon::Farm {

/// 0 where there is none, or what is there is none.
inline std::int64_t ReadLeaseNumber(const CoreServices::Parameters& tree) {
    std::string text;
    std::int64_t number = 0;
    tree.GetParameter(Keys::FarmLease, text);
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size() && number > 0 ? number : 0;
}

/// The same of the private data of a record. A record that cannot be read has none.
inline std::int64_t ReadLeaseNumber(const Weftline::Record& record) try {
    return ReadLeaseNumber(CoreServices::Parameters::fromJSON(record.recordData));
} catch (const std::runtime_error&) {
    return 0;
}

/// 0 leaves the tree alone.
inline void WriteLeaseNumber(CoreServices::Parameters& tree, std::int64_t number) {
    if (number != 0) {
        tree.SetParameter(Keys::FarmLease, std::to_string(number));
    }
}

}  // namespace Quillon::Farm
