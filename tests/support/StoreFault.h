#pragma once

namespace TestSupport {

/// What a fake store does instead of its work.
enum class StoreFault {
    None,
    Refuse,  ///< gives false
    Throw,   ///< throws `ObjectStoreException` with the text "The fake store was told to fail"
};

}  // namespace TestSupport
