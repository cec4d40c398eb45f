#include "platform/notifiers/IGenericNotifier.h"

namespace PlatformAbstraction {

void IGenericNotifier::SendProgress(const std::string& text) {
    SendProgress(text, kUnknownPercent);
}

}  // namespace PlatformAbstraction
