#include "platform/deployment/SettingsReader.h"

#include <cmath>

namespace PlatformAbstraction::Deployment {

using CoreServices::Parameters;

void SettingValue::Refuse(const std::string& expected) const {
    throw BusSettingsError("The bus setting \"" + m_fullName + "\" must be " + expected + ".");
}

std::int32_t SettingValue::Whole(std::int32_t least, std::int32_t most) const {
    std::int32_t value = 0;
    if (!m_tree.GetParameter(m_key, value) || value < least || value > most) {
        Refuse("a whole number from " + std::to_string(least) + " to " + std::to_string(most));
    }
    return value;
}

std::size_t SettingValue::Bytes(double most) const {
    std::int32_t small = 0;
    double value = 0;
    if (m_tree.GetParameter(m_key, small)) {
        value = small;
    } else if (!m_tree.GetParameter(m_key, value)) {
        value = 0;
    }
    if (!(value >= 1 && value <= most) || value != std::floor(value)) {
        Refuse("a whole number of bytes, from 1 to " + std::to_string(static_cast<std::uint64_t>(most)));
    }
    return static_cast<std::size_t>(value);
}

bool SettingValue::Flag() const {
    bool value = false;
    if (!m_tree.GetParameter(m_key, value)) {
        Refuse("true or false");
    }
    return value;
}

std::string SettingValue::Text() const {
    std::string value;
    if (!m_tree.GetParameter(m_key, value)) {
        Refuse("a text");
    }
    return value;
}

std::vector<std::string> SettingValue::Texts() const {
    Parameters array;
    if (!m_tree.GetChildParameters(m_key, array) || !array.IsArray()) {
        Refuse("an array of texts");
    }
    std::vector<std::string> texts(array.GetArrayNumValues());
    for (std::size_t n = 0; n < texts.size(); ++n) {
        if (!m_tree.GetArrayNthValue(m_key, n, texts[n])) {
            Refuse("an array of texts");
        }
    }
    return texts;
}

Parameters SettingValue::Object() const {
    Parameters child;
    if (!m_tree.GetChildParameters(m_key, child) || child.IsArray()) {
        Refuse("an object");
    }
    return child;
}

std::vector<Parameters> SettingValue::Objects() const {
    Parameters array;
    if (!m_tree.GetChildParameters(m_key, array) || !array.IsArray()) {
        Refuse("an array of objects");
    }
    std::vector<Parameters> objects(array.GetArrayNumValues());
    for (std::size_t n = 0; n < objects.size(); ++n) {
        if (!m_tree.GetArrayNthChildParameters(m_key, n, objects[n]) || objects[n].IsArray()) {
            Refuse("an array of objects");
        }
    }
    return objects;
}

void SettingValue::RefuseUnknown() const {
    throw BusSettingsError("The bus setting \"" + m_fullName + "\" is unknown.");
}

}  // namespace PlatformAbstraction::Deployment
