#include "farm/coordinator/OpenOffsets.h"

#include <algorithm>

namespace Quillon::Farm {

void OpenOffsets::Pass(std::int64_t offset) {
    m_read = std::max(m_read, offset);
}

void OpenOffsets::Open(std::int64_t offset) {
    Pass(offset);
    m_open.insert(offset);
}

void OpenOffsets::Close(std::int64_t offset) {
    m_open.erase(offset);
}

std::int64_t OpenOffsets::Low() const {
    return m_open.empty() ? m_read : *m_open.begin() - 1;
}

}  // namespace Quillon::Farm
