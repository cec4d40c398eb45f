#include "handlers/support/OptionalValues.h"

namespace Weftline::Services::Scheduler {

std::string TextOrEmpty(const CoreServices::Parameters& tree, std::string_view key) {
    std::string text;
    tree.GetParameter(key, text);
    return text;
}

bool FlagOrFalse(const CoreServices::Parameters& tree, std::string_view key) {
    bool flag = false;
    tree.GetParameter(key, flag);
    return flag;
}

}  // namespace Weftline::Services::Scheduler
