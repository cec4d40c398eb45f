#include <cstddef>
#include <cstdint>
#include <string_view>

#include "fuzz/FuzzTarget.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t size);

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t size) {
    const void* const erased = pData;
    Fuzzing::RunOne({static_cast<const char*>(erased), size});
    return 0;
}
