#pragma once

#include <stdexcept>

namespace CommonServices {

/// A failure of the record store, or a record that had to be there and is not.
class ObjectStoreException : public std::domain_error {
public:
    using std::domain_error::domain_error;
};

}  // namespace CommonServices
