#pragma once

#include <cstdlib>
#include <string>
#include <utility>

namespace Weftline::Services {

/// A variable of the process's environment for as long as this lives. For one thread.
struct EnvironmentVariable {
    EnvironmentVariable(std::string name, const std::string& value) : m_name(std::move(name)) {
        setenv(m_name.c_str(), value.c_str(), 1);
    }
    EnvironmentVariable(const EnvironmentVariable&) = delete;
    EnvironmentVariable& operator=(const EnvironmentVariable&) = delete;
    ~EnvironmentVariable() { unsetenv(m_name.c_str()); }

    const std::string m_name;
};

}  // namespace Weftline::Services
