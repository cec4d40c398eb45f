#pragma once

// Private to the reader of bus settings.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/parameters/Parameters.h"
#include "platform/deployment/BusSettings.h"

namespace PlatformAbstraction::Deployment {

/// One value of a file of settings together with its full name, such as "rest.maxBodyBytes". Each reader
/// throws `BusSettingsError` that names it where the value is of another type or out of range.
class SettingValue {
public:
    SettingValue(const CoreServices::Parameters& tree, std::string key, std::string fullName)
        : m_tree(tree), m_key(std::move(key)), m_fullName(std::move(fullName)) {}

    const std::string& GetFullName() const { return m_fullName; }

    std::int32_t Whole(std::int32_t least, std::int32_t most) const;
    /// For what may be larger than 32 bits hold.
    std::size_t Bytes(double most) const;
    bool Flag() const;
    std::string Text() const;
    std::vector<std::string> Texts() const;
    CoreServices::Parameters Object() const;
    std::vector<CoreServices::Parameters> Objects() const;

    [[noreturn]] void Refuse(const std::string& expected) const;
    [[noreturn]] void RefuseUnknown() const;

private:
    const CoreServices::Parameters& m_tree;
    const std::string m_key;
    const std::string m_fullName;
};

/// A key and what reads its value into `Target`. A key with a point in it lies in the object before the
/// point.
template <typename Target>
struct Setting {
    std::string_view key;
    void (*read)(const SettingValue& value, Target& target);
};

// Whether some key of the table lies in the object `name`.
template <typename Target>
bool IsGroup(std::span<const Setting<Target>> table, const std::string& name) {
    return std::any_of(table.begin(), table.end(),
                       [prefix = name + "."](const auto& entry) { return entry.key.starts_with(prefix); });
}

/// Reads the tree by the table. `place` is shown before the keys, `group` is the object that the tree is.
template <typename Target>
void ReadTree(std::span<const Setting<Target>> table, const CoreServices::Parameters& tree,
              const std::string& place, const std::string& group, Target& target) {
    for (const std::string& key : tree.GetTopLevelParameterNames()) {
        const std::string name = group + key;
        const SettingValue value(tree, key, place + name);
        const auto entry =
            std::find_if(table.begin(), table.end(), [&name](const auto& row) { return row.key == name; });
        if (key.find('.') != std::string::npos) {  // a point separates levels, it is in no key
            value.RefuseUnknown();
        }
        if (entry != table.end()) {
            entry->read(value, target);
        } else if (IsGroup(table, name)) {
            ReadTree(table, value.Object(), place, name + ".", target);
        } else {
            value.RefuseUnknown();
        }
    }
}

}  // namespace PlatformAbstraction::Deployment
