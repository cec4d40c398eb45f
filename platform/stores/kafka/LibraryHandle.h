#pragma once

#include <librdkafka/rdkafka.h>

#include <memory>

namespace CommonServices::Kafka {

template <auto Destroy>
struct HandleDestroyer {
    template <typename T>
    void operator()(T* handle) const {
        Destroy(handle);
    }
};

/// Owns an object of the library's C interface, which has what its C++ interface lacks.
template <typename T, auto Destroy>
using Handle = std::unique_ptr<T, HandleDestroyer<Destroy>>;

}  // namespace CommonServices::Kafka
