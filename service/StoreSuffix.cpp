#include "service/StoreSuffix.h"

#include "Core/src/Vocabulary.h"

namespace Weftline::Services {

namespace {

// The layout of the stored records. Another one is another store: services of different layouts do not read
// each other's records.
constexpr int kLayoutVersion[] = {2, 3, 12};

}  // namespace

std::string MakeStoreSuffix(const std::string& realm) {
    std::string suffix;
    if (realm != Realms::Global) {
        suffix.append("_").append(realm);
    }
    for (const int number : kLayoutVersion) {
        suffix.append("_").append(std::to_string(number));
    }
    return suffix;
}

}  // namespace Weftline::Services
