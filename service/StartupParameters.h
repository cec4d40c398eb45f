#pragma once

#include <iosfwd>

namespace boost::program_options {
class variables_map;
}  // namespace boost::program_options

namespace Weftline::Services {

/// Copies every option that holds text into the configuration store, `config` excepted, and lists what it
/// copied on `stream`, in the order of the names. Secure values are stored as they are and listed as
/// asterisks. This is what fills the configuration store; it must come before the first reading of it.
void StoreStartupParameters(const boost::program_options::variables_map& options, std::ostream& stream);

}  // namespace Weftline::Services
