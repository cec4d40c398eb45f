# Everything comes from the distribution, by name; nothing is downloaded. Imported targets are SYSTEM, so
# their headers do not fall under our warnings.
find_package(Boost 1.74 REQUIRED COMPONENTS program_options stacktrace_basic)
find_package(Threads REQUIRED)
find_package(OpenSSL REQUIRED)
find_package(spdlog REQUIRED)
find_package(SQLite3 REQUIRED)
find_package(mongoc-1.0 1.23 REQUIRED)
find_package(SQLiteCpp REQUIRED)
find_package(zstd REQUIRED)

# RapidJSON ships headers alone.
find_path(RAPIDJSON_INCLUDE_DIR rapidjson/writer.h REQUIRED)
add_library(quillon_rapidjson INTERFACE)
target_include_directories(quillon_rapidjson SYSTEM INTERFACE ${RAPIDJSON_INCLUDE_DIR})

# Debian's CMake package of the client library names a static library that is in no package.
find_path(NATS_INCLUDE_DIR nats/nats.h REQUIRED)
find_library(NATS_LIBRARY nats REQUIRED)
add_library(quillon_nats_client INTERFACE)
target_include_directories(quillon_nats_client SYSTEM INTERFACE ${NATS_INCLUDE_DIR})
target_link_libraries(quillon_nats_client INTERFACE ${NATS_LIBRARY})

# librdkafka comes without a package for CMake; its admin calls stand in the C library alone.
find_path(RDKAFKA_INCLUDE_DIR librdkafka/rdkafkacpp.h REQUIRED)
find_library(RDKAFKA_CXX_LIBRARY rdkafka++ REQUIRED)
find_library(RDKAFKA_LIBRARY rdkafka REQUIRED)
add_library(quillon_rdkafka INTERFACE)
target_include_directories(quillon_rdkafka SYSTEM INTERFACE ${RDKAFKA_INCLUDE_DIR})
target_link_libraries(quillon_rdkafka INTERFACE ${RDKAFKA_CXX_LIBRARY} ${RDKAFKA_LIBRARY})
