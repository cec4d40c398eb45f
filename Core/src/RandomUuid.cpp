#include "Core/src/RandomUuid.h"

#include <sys/random.h>

#include <algorithm>
#include <array>
#include <boost/uuid/entropy_error.hpp>
#include <cerrno>
#include <cstdint>

namespace Weftline {

namespace {

// The system gives up to 256 bytes in one piece, uninterrupted by signals (getrandom(2)).
class RandomBytes {
public:
    void Take(boost::uuids::uuid& id) {
        if (m_next == m_bytes.size()) {
            if (::getrandom(m_bytes.data(), m_bytes.size(), 0) != static_cast<ssize_t>(m_bytes.size())) {
                throw boost::uuids::entropy_error(errno, "getrandom");
            }
            m_next = 0;
        }
        std::copy_n(m_bytes.data() + m_next, id.size(), id.begin());
        m_next += id.size();
    }

private:
    std::array<std::uint8_t, 256> m_bytes{};
    std::size_t m_next = m_bytes.size();
};

}  // namespace

boost::uuids::uuid RandomUuid() {
    thread_local RandomBytes t_bytes;
    boost::uuids::uuid id;
    t_bytes.Take(id);
    // The version is the high half of one byte, the variant the two high bits of another.
    id.data[6] = static_cast<std::uint8_t>((id.data[6] & 0x0FU) | 0x40U);
    id.data[8] = static_cast<std::uint8_t>((id.data[8] & 0x3FU) | 0x80U);
    return id;
}

}  // namespace Weftline
