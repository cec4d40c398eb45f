#pragma once

#include <cstdint>

/// The coordinator's place in the event log, kept as a record of the object store. An older place than the
/// true one does no harm: what has come to its end is passed over when it is read again.
namespace Quillon::Farm::KeptPosition {

/// 0 where none was kept, or what was kept is no place: then the log is read from the first event. Throws
/// `ObjectStoreException` when the store cannot be read.
std::int64_t Load();

/// False when the store did not take it.
bool Keep(std::int64_t offset);

}  // namespace Quillon::Farm::KeptPosition
