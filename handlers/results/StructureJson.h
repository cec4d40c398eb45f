#pragma once

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <boost/hana/for_each.hpp>
#include <boost/hana/integral_constant.hpp>
#include <boost/hana/length.hpp>
#include <boost/hana/range.hpp>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "Core/src/StructureFields.h"

/// Described structures to others of another form, and straight to JSON text, without a tree in between. For
/// the sources of this folder alone: who includes this sees the JSON library.
namespace Weftline::DataModel {

/// The same values in another described structure: the first field from the first field, and so on. Members
/// that are structures are converted in turn; a value may become an optional, which then has it.
template <DescribedStructure Target, DescribedStructure Source>
Target ConvertStructure(const Source& source);

template <class Target, class Source>
void ConvertMember(const Source& source, Target& target) {
    if constexpr (std::is_same_v<Source, Target>) {
        target = source;
    } else if constexpr (DescribedStructure<Target>) {
        target = ConvertStructure<Target>(source);
    } else {
        ConvertMember(source, target.emplace());
    }
}

template <DescribedStructure Target, DescribedStructure Source>
Target ConvertStructure(const Source& source) {
    namespace hana = boost::hana;
    using To = StructureFields<Target>;
    using From = StructureFields<Source>;
    constexpr std::size_t kCount = decltype(hana::length(To::kFields.fields))::value;
    static_assert(kCount == decltype(hana::length(From::kFields.fields))::value);

    Target target;
    hana::for_each(hana::make_range(hana::size_c<0>, hana::size_c<kCount>), [&](auto place) {
        ConvertMember(source.*From::kFields.fields[place].pMember, target.*To::kFields.fields[place].pMember);
    });
    return target;
}

/// Writes values to one JSON text, in the order of the calls.
class StructureJsonWriter {
public:
    void Write(std::int32_t value) { m_writer.Int(value); }
    void Write(bool value) { m_writer.Bool(value); }
    void Write(std::string_view text) { m_writer.String(text.data(), SizeOf(text)); }

    template <class Element>
    void Write(const std::vector<Element>& elements) {
        m_writer.StartArray();
        for (const Element& element : elements) {
            Write(element);
        }
        m_writer.EndArray();
    }

    template <DescribedStructure Structure>
    void Write(const Structure& structure) {
        m_writer.StartObject();
        ForEachField(structure,
                     [this](std::string_view key, const auto& member) { this->WriteMember(key, member); });
        m_writer.EndObject();
    }

    std::string Text() const { return {m_buffer.GetString(), m_buffer.GetSize()}; }

private:
    static rapidjson::SizeType SizeOf(std::string_view text) {
        return static_cast<rapidjson::SizeType>(text.size());
    }

    template <class Value>
    void WriteMember(std::string_view key, const Value& value) {
        m_writer.Key(key.data(), SizeOf(key));
        Write(value);
    }

    /// A value that is not there leaves no key behind.
    template <class Value>
    void WriteMember(std::string_view key, const std::optional<Value>& value) {
        if (value) {
            WriteMember(key, *value);
        }
    }

    rapidjson::StringBuffer m_buffer;
    rapidjson::Writer<rapidjson::StringBuffer> m_writer{m_buffer};
};

/// JSON text without white space, the members in the order of the structure's list.
template <DescribedStructure Structure>
std::string WriteJsonText(const Structure& structure) {
    StructureJsonWriter writer;
    writer.Write(structure);
    return writer.Text();
}

}  // namespace Weftline::DataModel
