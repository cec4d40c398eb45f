#pragma once

// Private to the reader of bus settings.

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "base/parameters/Parameters.h"

namespace PlatformAbstraction::Standalone {

/// One value of a file of settings together with its full name, such as "rest.maxBodyBytes". Each reader
/// throws `BusSettingsError` that names it where the value is of another type or out of range.
class SettingValue {
public:
    SettingValue(const CoreServices::Parameters& tree, std::string key, std::string fullName)
        : m_tree(tree), m_key(std::move(key)), m_fullName(std::move(fullName)) {}

    const std::string& GetFullName() const { return m_fullName; }

    std::int32_t Whole(std::int32_t least, std::int32_t most) const;
    bool Flag() const;
    std::string Text() const;
    std::vector<std::string> Texts() const;
    CoreServices::Parameters Object() const;
    std::vector<CoreServices::Parameters> Objects() const;

    [[noreturn]] void Refuse(const std::string& expected) const;

private:
    const CoreServices::Parameters& m_tree;
    const std::string m_key;
    const std::string m_fullName;
};

}  // namespace PlatformAbstraction::Standalone
