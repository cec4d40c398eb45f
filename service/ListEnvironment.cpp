#include "service/ListEnvironment.h"

#include <ostream>

namespace Weftline::Services {

void ListEnvironment(std::ostream& stream) {
    stream << "\nEnvironment variables listing skipped.\n";
}

}  // namespace Weftline::Services
