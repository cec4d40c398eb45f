#pragma once

#include <boost/hana/for_each.hpp>
#include <boost/hana/tuple.hpp>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "Core/src/TreeValues.h"
#include "base/parameters/JsonObjectText.h"
#include "base/parameters/Parameters.h"

/// Plain structures to trees and back, from one list of keys and members for each structure. The list is
/// given once, beside the structure:
///
///     template <>
///     struct StructureFields<Rate> {
///         static constexpr FieldList kFields{
///             Field{Keys::Formats::Numerator, &Rate::numerator},
///             Field{Keys::Formats::Denominator, &Rate::denominator},
///         };
///     };
///
/// Members may be texts, 32-bit integers, bools, described structures and optionals of these; where a
/// structure is only written, also vectors of texts. Where it is only written to JSON text, they may be
/// texts, integers, bools, and trees, which come out as texts that hold their JSON. Included where structures
/// are described or walked, not in headers of wide use.
namespace Weftline::DataModel {

/// One member of a structure and the key it has in a tree.
template <class Structure, class Member>
struct Field {
    std::string_view key;
    Member Structure::*pMember;
};

template <class Structure, class Member>
Field(std::string_view, Member Structure::*) -> Field<Structure, Member>;

template <class... Fields>
struct FieldList {
    constexpr explicit FieldList(Fields... list) : fields(list...) {}
    boost::hana::tuple<Fields...> fields;
};

/// To be specialised with a static `kFields`, in the order of writing.
template <class Structure>
struct StructureFields;

template <class Structure>
concept DescribedStructure = requires {
    StructureFields<Structure>::kFields;
};

/// Calls `visit(key, member)` for each field in order.
template <class Structure, class Visitor>
requires DescribedStructure<std::remove_const_t<Structure>>
void ForEachField(Structure& structure, Visitor&& visit) {
    boost::hana::for_each(StructureFields<std::remove_const_t<Structure>>::kFields.fields,
                          [&](const auto& field) { visit(field.key, structure.*field.pMember); });
}

/// Every field in order, blank ones too; an optional without a value is left out.
template <DescribedStructure Structure>
CoreServices::Parameters WriteStructure(const Structure& structure);

/// The JSON text of the structure: that of the tree that `WriteStructure` gives, written without it.
template <DescribedStructure Structure>
std::string WriteStructureText(const Structure& structure);

/// Throws `std::runtime_error` ("Failed to extract: " and the key) for a required value that is missing or of
/// another type; an optional one may be missing, but not of another type. A structure that is missing reads
/// as an empty tree, so the failure names the first required key inside it.
template <DescribedStructure Structure>
Structure ReadStructure(const CoreServices::Parameters& tree);

/// One field of a tree: how each type of member is written and read.
template <class Value>
struct FieldValue;

template <>
struct FieldValue<std::string> {
    static void Write(CoreServices::Parameters& tree, std::string_view key, const std::string& value) {
        tree.SetParameter(key, value);
    }
    static void Write(CoreServices::JsonObjectText& text, std::string_view key, const std::string& value) {
        text.AddText(key, value);
    }
    static std::string Read(const CoreServices::Parameters& tree, std::string_view key) {
        return GetRequiredString(tree, key);
    }
};

template <>
struct FieldValue<std::int32_t> {
    static void Write(CoreServices::Parameters& tree, std::string_view key, std::int32_t value) {
        tree.SetParameter(key, value);
    }
    static void Write(CoreServices::JsonObjectText& text, std::string_view key, std::int32_t value) {
        text.AddInteger(key, value);
    }
    static std::int32_t Read(const CoreServices::Parameters& tree, std::string_view key) {
        return GetRequiredInt(tree, key);
    }
};

template <>
struct FieldValue<bool> {
    static void Write(CoreServices::Parameters& tree, std::string_view key, bool value) {
        tree.SetParameter(key, value);
    }
    static void Write(CoreServices::JsonObjectText& text, std::string_view key, bool value) {
        text.AddFlag(key, value);
    }
    static bool Read(const CoreServices::Parameters& tree, std::string_view key) {
        return GetRequiredBool(tree, key);
    }
};

template <>
struct FieldValue<CoreServices::Parameters> {
    static void Write(CoreServices::JsonObjectText& text, std::string_view key,
                      const CoreServices::Parameters& value) {
        text.AddTextOf(key, value);
    }
};

template <DescribedStructure Structure>
struct FieldValue<Structure> {
    static void Write(CoreServices::Parameters& tree, std::string_view key, const Structure& value) {
        tree.SetChildParameters(key, WriteStructure(value));
    }
    static Structure Read(const CoreServices::Parameters& tree, std::string_view key) {
        return ReadStructure<Structure>(tree.GetChildParameters(key));
    }
};

template <class Value>
struct FieldValue<std::optional<Value>> {
    static void Write(CoreServices::Parameters& tree, std::string_view key,
                      const std::optional<Value>& value) {
        if (value) {
            FieldValue<Value>::Write(tree, key, *value);
        }
    }
    static std::optional<Value> Read(const CoreServices::Parameters& tree, std::string_view key) {
        if (!tree.HasParameter(key)) {
            return std::nullopt;
        }
        return FieldValue<Value>::Read(tree, key);
    }
};

template <>
struct FieldValue<std::vector<std::string>> {
    static void Write(CoreServices::Parameters& tree, std::string_view key,
                      const std::vector<std::string>& values) {
        tree.AddEmptyArray(key);
        for (const std::string& value : values) {
            tree.AddArrayParameter(key, value);
        }
    }
};

template <DescribedStructure Structure>
CoreServices::Parameters WriteStructure(const Structure& structure) {
    CoreServices::Parameters tree;
    ForEachField(structure, [&tree]<class Value>(std::string_view key, const Value& value) {
        FieldValue<Value>::Write(tree, key, value);
    });
    return tree;
}

template <DescribedStructure Structure>
std::string WriteStructureText(const Structure& structure) {
    CoreServices::JsonObjectText text;
    ForEachField(structure, [&text]<class Value>(std::string_view key, const Value& value) {
        FieldValue<Value>::Write(text, key, value);
    });
    return text.Finish();
}

template <DescribedStructure Structure>
Structure ReadStructure(const CoreServices::Parameters& tree) {
    Structure structure;
    ForEachField(structure, [&tree]<class Value>(std::string_view key, Value& value) {
        value = FieldValue<Value>::Read(tree, key);
    });
    return structure;
}

}  // namespace Weftline::DataModel
