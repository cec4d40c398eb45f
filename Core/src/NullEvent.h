#pragma once

namespace Weftline::DataModel {

/// The event class of entities that announce nothing.
struct NullEvent {};

}  // namespace Weftline::DataModel
